#pragma once

#include <PellixPlatform/Error.h>

#include <cstdio>

namespace PellixProvidersSDK {

/// Prints "Error: " and the error's description as one line on standard output: how failures to
/// read the endpoint table or to encode a body show, which are deliberately not logged.
[[gnu::cold]] inline void printError(const PellixPlatform::Error& error) {
  const std::string line = "Error: " + error.localizedDescription() + "\n";
  std::fwrite(line.data(), 1, line.size(), stdout);
}

}  // namespace PellixProvidersSDK
