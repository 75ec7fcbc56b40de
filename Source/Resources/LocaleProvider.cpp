#include "Resources/LocaleProvider.h"

#include <PellixPlatform/Locale.h>
#include <PellixPlatform/internal/Once.h>
#include <VeltraneProvidersSDK/QVLLumenoSettingsProvider.h>

#include <utility>

namespace PellixProvidersSDK {

using VeltraneProvidersSDK::LumenoSettings;
using VeltraneProvidersSDK::QVLLumenoSettingsProvider;
using VeltraneProvidersSDK::Veltrane;

LocaleProvider::LocaleProvider(std::shared_ptr<Veltrane> veltrane)
    : veltrane_(std::move(veltrane)) {}

void LocaleProvider::getLocale(std::function<void(std::string)> callback) const {
  const PellixPlatform::Once call(std::move(callback));
  if (const auto shared = Veltrane::instance()) {
    if (auto locale = shared->lumenoLocaleOverride()) {
      call(*std::move(locale));
      return;
    }
  }
  QVLLumenoSettingsProvider::getLumenoSettings(
      [call](const std::shared_ptr<const LumenoSettings>& settings) {
        if (settings) return call(settings->locale());
        auto languages = PellixPlatform::Locale::preferredLanguages();
        call(languages.empty() ? std::string() : std::move(languages.front()));
      });
}

}  // namespace PellixProvidersSDK
