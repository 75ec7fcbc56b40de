#include "Commands.h"
#include "Failure.h"

#include <fmt/core.h>

namespace PellixApp {

using PellixProvidersSDK::PellixSettings;
using PellixProvidersSDK::PellixSettingsProvider;

ExitCode settings() {
  using Answer = std::shared_ptr<const PellixSettings>;
  const auto answer = await<Answer>(
      [](auto callback) { PellixSettingsProvider::getSettings(std::move(callback)); });
  if (!answer) return reportSilence();
  const bool isEnabled = *answer && answer->get()->enabled();
  if (!isEnabled) {
    if (const auto missing = reportMissingSettings()) return *missing;
  }
  fmt::print("The feature is {} for this account.\n", isEnabled ? "enabled" : "disabled");
  return isEnabled ? ExitCode::answered : ExitCode::disabled;
}

}  // namespace PellixApp
