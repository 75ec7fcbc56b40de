#pragma once

#include <PellixPlatform/Export.h>

#include <string>

namespace PellixPlatform {

/// A fresh random UUID (RFC 9562, version 4) as its 36 upper-case characters.
[[nodiscard]] PELLIX_EXPORT std::string makeUUIDString();

}  // namespace PellixPlatform
