#include "Providers/Once.h"

#include <PellixPlatform/internal/FatalError.h>
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
  const auto quorvel = QuorvelCoreSDK::Quorvel::instance();
  if (!quorvel) return;
  const auto& settings = quorvel->providerModule().settings();
  // Moved by pointer: a moved-from `std::function` may still hold its captures.
  auto held = std::make_unique<const SettingsCallback>(std::exchange(callback, nullptr));
  settings->getSettings<PellixSettings>(
      once([held = std::move(held)](std::shared_ptr<const PellixSettings> record) {
        if (*held) (*held)(std::move(record));
      }));
}

}  // namespace PellixProvidersSDK
