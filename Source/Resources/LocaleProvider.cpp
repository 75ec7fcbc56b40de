#include "Resources/LocaleProvider.h"

#include <PellixPlatform/Locale.h>
#include <VeltraneProvidersSDK/QVLLumenoSettingsProvider.h>

#include <utility>

namespace PellixProvidersSDK {

using VeltraneProvidersSDK::LumenoSettings;
using VeltraneProvidersSDK::QVLLumenoSettingsProvider;
using VeltraneProvidersSDK::Veltrane;

LocaleProvider::LocaleProvider(std::shared_ptr<Veltrane> veltrane)
    : veltrane_(std::move(veltrane)) {}

void LocaleProvider::getLocale(std::function<void(std::string)> callback) const {
  if (const auto shared = Veltrane::instance()) {
    if (auto locale = shared->lumenoLocaleOverride()) {
      callback(*std::move(locale));
      return;
    }
  }
  QVLLumenoSettingsProvider::getLumenoSettings(
      [callback = std::move(callback)](const std::shared_ptr<const LumenoSettings>& settings) {
        if (settings) return callback(settings->locale());
        auto languages = PellixPlatform::Locale::preferredLanguages();
        callback(languages.empty() ? std::string() : std::move(languages.front()));
      });
}

}  // namespace PellixProvidersSDK
