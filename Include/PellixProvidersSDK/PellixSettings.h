#pragma once

#include <PellixPlatform/Decoder.h>
#include <PellixPlatform/Object.h>

#include <memory>

namespace PellixProvidersSDK {

/// What an account's settings say about this library.
///
/// Thread safety: immutable, any thread.
class PELLIX_EXPORT PellixSettings final : public PellixPlatform::Object {
 public:
  using DefaultType = PellixSettings;

  /// The feature is disabled.
  PellixSettings();

  /// For decoders: reads `enabled` in the member `pellix` of the account's settings document.
  explicit PellixSettings(const PellixPlatform::Decoder& decoder);

  ~PellixSettings() override;

  /// A new record, with the feature disabled, at each call.
  [[nodiscard]] static std::shared_ptr<const PellixSettings> default_();

  /// Whether the feature is switched on for the account.
  [[nodiscard]] bool enabled() const { return enabled_; }

 private:
  const bool enabled_ = false;
};

}  // namespace PellixProvidersSDK
