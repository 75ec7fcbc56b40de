#pragma once

#include "Doctor/Finding.h"
#include "Options.h"

namespace PellixApp {

/// The steps towards the account's host, in the order in which they are taken.
enum class Step : std::uint8_t { resolution, connection, security, none };

/// What a connection to the account's host came to. Nothing was asked for on it.
struct Probe {
  Step failed = Step::none;
  Finding finding;                  ///< Of the step that failed.
  std::string peer;                 ///< Who took the connection: address and port.
  std::string certificateValidity;  ///< Until when the server's is valid.
};

/// Connects as the library would. A certificate that isn't accepted is looked at over further
/// connections, which carry nothing.
[[nodiscard]] Probe probe(const std::string& address, const Options& options);

/// Whether a server at this address, which is one of https, speaks TLS at all.
[[nodiscard]] bool speaksTLS(const std::string& address, const Options& options);

/// Where trusted certificates are read from.
[[nodiscard]] std::string certificateStore(const Options& options);

}  // namespace PellixApp
