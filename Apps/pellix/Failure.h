#pragma once

#include "ExitCode.h"

#include <PellixPlatform/Error.h>

#include <string_view>

namespace PellixApp {

/// What to do about an error; empty if there is nothing to say.
[[nodiscard]] std::string_view adviceFor(const PellixPlatform::Error& error);

/// Says on standard error what went wrong and what to do about it; the code to end with.
[[nodiscard]] ExitCode reportFailure(const PellixPlatform::Error& error);

/// Says that an operation ended without an answer.
[[nodiscard]] ExitCode reportSilence();

}  // namespace PellixApp
