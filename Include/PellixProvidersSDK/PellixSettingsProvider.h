#pragma once

#include <PellixProvidersSDK/PellixSettings.h>

#include <concepts>
#include <functional>
#include <memory>

namespace PellixProvidersSDK {

/// The settings, or null. It is released as every callback is, see `ResultCallback`.
using SettingsCallback = std::function<void(std::shared_ptr<const PellixSettings>)>;

/// What a settings provider offers, at class level.
template <class T>
concept PellixSettingsProviderProtocol = requires(SettingsCallback callback) {
  { T::getSettings(callback) } -> std::same_as<void>;
};

/// Tells the account's settings for this library. It has no instances.
class PELLIX_EXPORT PellixSettingsProvider final : public PellixPlatform::Object {
 public:
  /// Stops the process: the operations are class-level.
  [[noreturn]] PellixSettingsProvider();

  /// Asks the core library's settings service, which keeps the settings for some time and answers
  /// with the default (disabled) when there are none to be had.
  ///
  /// The callback runs within this call if the settings are at hand, else where the core's
  /// transport completes, by default its worker thread. Without a core instance it is never called.
  /// Thread safety: any thread.
  static void getSettings(SettingsCallback callback);
};

}  // namespace PellixProvidersSDK
