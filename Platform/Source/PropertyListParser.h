#pragma once

#include "Tree.h"

namespace PellixPlatform {

/// Parses all of a property list in XML; throws `DecodingFailure` where it is malformed.
[[nodiscard]] Tree parsePropertyList(std::string_view document);

}  // namespace PellixPlatform
