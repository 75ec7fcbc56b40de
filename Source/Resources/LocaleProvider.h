#pragma once

#include <VeltraneProvidersSDK/Veltrane.h>

#include <functional>
#include <memory>
#include <string>

namespace PellixProvidersSDK {

/// Chooses the locale that a query searches in. It keeps nothing: each call chooses afresh.
class LocaleProvider {
 public:
  explicit LocaleProvider(std::shared_ptr<VeltraneProvidersSDK::Veltrane> veltrane);

  /// Calls `callback` once: within this call if the host has set an override, else where the
  /// knowledge base's settings arrive. The locale is handed on exactly as it was obtained.
  void getLocale(std::function<void(std::string)> callback) const;

 private:
  // Held, but deliberately not asked: the override is that of the shared instance at the time.
  const std::shared_ptr<VeltraneProvidersSDK::Veltrane> veltrane_;
};

}  // namespace PellixProvidersSDK
