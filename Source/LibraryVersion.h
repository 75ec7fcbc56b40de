#pragma once

#include <PellixPlatform/Bundle.h>

#include <string>

namespace PellixProvidersSDK {

/// The version in the information dictionary of the bundle that a class belongs to; a default
/// without one. Looked up afresh at each call.
[[nodiscard]] std::string libraryVersion(const PellixPlatform::Bundle& bundle);

}  // namespace PellixProvidersSDK
