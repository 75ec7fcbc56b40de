#pragma once

#include <QuorvelCoreSDK/SettingsProvider.h>

namespace QuorvelCoreSDK {

/// The services of one core instance.
class PELLIX_EXPORT ProviderModule {
 public:
  explicit ProviderModule(std::shared_ptr<SettingsProvider> settings)
      : settings_(std::move(settings)) {}

  /// Never null.
  [[nodiscard]] const std::shared_ptr<SettingsProvider>& settings() const { return settings_; }

 private:
  std::shared_ptr<SettingsProvider> settings_;
};

}  // namespace QuorvelCoreSDK
