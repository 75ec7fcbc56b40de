#pragma once

#include "Doctor/Attempt.h"
#include "Doctor/Finding.h"

namespace PellixApp {

/// The steps towards the account's host, in the order in which they are taken.
enum class Step : std::uint8_t { resolution, connection, security, none };

/// What a connection to the account's host came to. Nothing was asked for on it.
struct Probe {
  Step failed = Step::none;
  Finding finding;  ///< Of the step that failed.
  Attempt made;     ///< With the chain also if that was not accepted.
};

/// Connects as the library would, or over one version of IP alone. A certificate that isn't
/// accepted is looked at over further connections, which carry nothing.
[[nodiscard]] Probe probe(const std::string& address, const Options& options,
                          Family family = Family::any);

/// Whether a server at this address, which is one of https, speaks TLS at all.
[[nodiscard]] bool speaksTLS(const std::string& address, const Options& options);

/// To the minute, in UTC.
[[nodiscard]] std::string timeText(std::time_t time);

/// Where trusted certificates are read from.
[[nodiscard]] std::string certificateStore(const Options& options);

}  // namespace PellixApp
