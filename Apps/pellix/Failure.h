#pragma once

#include "ExitCode.h"

#include <PellixPlatform/Error.h>

#include <optional>
#include <string_view>

namespace PellixApp {

/// Says on standard error, behind the program's name, what is wrong, and what to do about it.
void complain(std::string_view what, std::string_view remedy = {});

/// What to do about an error; empty if there is nothing to say.
[[nodiscard]] std::string_view adviceFor(const PellixPlatform::Error& error);

/// Complains of the account's settings if they could not be had, in which case the library takes
/// the feature for disabled; nothing if they could.
[[nodiscard]] std::optional<ExitCode> reportMissingSettings();

/// Complains of an operation's error; the code to end with.
[[nodiscard]] ExitCode reportFailure(const PellixPlatform::Error& error);

/// The same of a report, which the service may have acted on even so.
[[nodiscard]] ExitCode reportFailureOfReport(const PellixPlatform::Error& error);

/// Complains of an operation that ended without an answer.
[[nodiscard]] ExitCode reportSilence();

}  // namespace PellixApp
