#include <PellixPlatform/internal/FatalError.h>
#include <PellixPlatform/internal/Once.h>
#include <PellixProvidersSDK/PellixSettingsProvider.h>
#include <QuorvelCoreSDK/Quorvel.h>

#include <utility>

namespace PellixProvidersSDK {

static_assert(PellixSettingsProviderProtocol<PellixSettingsProvider>);

PellixSettingsProvider::PellixSettingsProvider() {
  // A fixed report, whatever line this stands in.
  PellixPlatform::fatalError("Source/Settings/PellixSettingsProvider:29: Fatal error: ");
}

void PellixSettingsProvider::getSettings(SettingsCallback callback) {
  const PellixPlatform::Once call(std::move(callback));
  const auto quorvel = QuorvelCoreSDK::Quorvel::instance();
  if (!quorvel) return;
  quorvel->providerModule().settings()->getSettings<PellixSettings>(call);
}

}  // namespace PellixProvidersSDK
