#pragma once

#include <QuorvelCoreSDK/SettingsProvider.h>
#include <QuorvelCoreSDK/internal/CachedDocument.h>

namespace QuorvelCoreSDK {

/// The default settings service: answers with records from the account's settings document, and
/// with a record's default when there is none.
class SettingsService final : public SettingsProvider {
 public:
  explicit SettingsService(AccountDetails account);

  [[nodiscard]] std::optional<SettingsFailure> lastFailure() const override;

 private:
  void answer(RecordType type, Continuation continuation) override;

  const std::shared_ptr<CachedDocument> document_;
};

}  // namespace QuorvelCoreSDK
