#pragma once

#include <Platform/Export.h>

#include <string>

namespace Platform {

/// A fresh random UUID (RFC 9562, version 4) as its 36 upper-case characters.
[[nodiscard]] PELLIX_EXPORT std::string makeUUIDString();

}  // namespace Platform
