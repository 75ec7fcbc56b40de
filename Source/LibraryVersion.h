#pragma once

#include <string>

namespace PellixProvidersSDK {

/// The version in the resources of the library that holds `classAnchor`, a static object beside the
/// class in question; a default without one. Looked up afresh at each call.
[[nodiscard]] std::string libraryVersion(const void* classAnchor);

}  // namespace PellixProvidersSDK
