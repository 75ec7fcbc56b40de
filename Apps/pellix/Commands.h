#pragma once

#include "Host.h"

namespace PellixApp {

[[nodiscard]] ExitCode ask(const PellixProvidersSDK::Pellix& pellix, const Options& options);
[[nodiscard]] ExitCode settings();

}  // namespace PellixApp
