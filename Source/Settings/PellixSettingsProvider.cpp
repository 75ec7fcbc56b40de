#include "Providers/Once.h"

#include <PellixProvidersSDK/PellixSettingsProvider.h>
#include <Platform/FatalError.h>
#include <QuorvelCoreSDK/Quorvel.h>

#include <utility>

namespace PellixProvidersSDK {

static_assert(PellixSettingsProviderProtocol<PellixSettingsProvider>);

PellixSettingsProvider::PellixSettingsProvider() {
  // A fixed report, whatever line this stands in.
  Platform::fatalError("Source/Settings/PellixSettingsProvider:29: Fatal error: ");
}

void PellixSettingsProvider::getSettings(SettingsCallback callback) {
  const auto quorvel = QuorvelCoreSDK::Quorvel::instance();
  if (!quorvel) return;
  const auto& settings = quorvel->providerModule().settings();
  settings->getSettings<PellixSettings>(once(
      [callback = std::exchange(callback, nullptr)](std::shared_ptr<const PellixSettings> record) {
        if (callback) callback(std::move(record));
      }));
}

}  // namespace PellixProvidersSDK
