#include "Bridge/Handles.h"

#include <PellixPlatform/internal/Bridge/Callbacks.h>

using namespace PellixProvidersSDK;
using namespace PellixPlatform::Bridge;

void QVLPellixSettingsProvider_getSettingsWithCallback(QVLSettingsCallback callback, void* context,
                                                       QVLContextRelease release) {
  withMemory([&] {
    auto held = makeContext(context, release);
    PellixSettingsProvider::getSettings(
        [callback, held = std::move(held)](const std::shared_ptr<const PellixSettings>& settings) {
          if (!callback) return;
          callHost([callback, held, settings] {
            callback(handleOf<const QVLPellixSettings>(settings.get()), held.get());
          });
        });
  });
}

void QVLPellixSettingsProvider_init() {
  static_cast<void>(PellixSettingsProvider());
  std::unreachable();  // the constructor does not return, which compilers can't all see
}

const QVLPellixSettings* QVLPellixSettings_init() {
  const QVLPellixSettings* settings = nullptr;
  withMemory([&] {
    settings = retained<const QVLPellixSettings>(std::make_shared<const PellixSettings>());
  });
  return settings;
}

bool QVLPellixSettings_enabled(const QVLPellixSettings* settings) {
  return objectOf(settings, __func__).enabled();
}
