#pragma once

#include <QuorvelCoreSDK/CachedDocument.h>
#include <QuorvelCoreSDK/SettingsProvider.h>

namespace QuorvelCoreSDK {

/// The default settings service: decodes records from the account's settings document, and answers
/// with a record's default when there is none or it can't be decoded.
class SettingsService final : public SettingsProvider {
 public:
  explicit SettingsService(AccountDetails account);

 private:
  void answer(RecordType type, Continuation continuation) override;

  const std::shared_ptr<CachedDocument> document_;
};

}  // namespace QuorvelCoreSDK
