#pragma once

#include <VeltraneProvidersSDK/LumenoSettings.h>

#include <functional>
#include <memory>

namespace VeltraneProvidersSDK {

/// Answers with the knowledge base's settings.
class PELLIX_EXPORT QVLLumenoSettingsProvider {
 public:
  QVLLumenoSettingsProvider() = delete;

  /// Calls `callback` once, with null if there are no settings to be had, and never within this
  /// call: where the core's transport completes, by default its worker thread, or on the main
  /// queue if neither this library nor the core has an instance. If memory runs out meanwhile, or
  /// the transport drops the request, it is let go of without a call. Thread safety: any thread.
  static void getLumenoSettings(
      std::function<void(std::shared_ptr<const LumenoSettings>)> callback);
};

}  // namespace VeltraneProvidersSDK
