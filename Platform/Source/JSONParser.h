#pragma once

#include "Tree.h"

namespace PellixPlatform {

/// Parses all of a JSON document; throws `DecodingFailure` where it is malformed. The memory of an
/// earlier tree may serve again.
[[nodiscard]] Tree parseJSON(std::string_view document, Tree recycled = {});

}  // namespace PellixPlatform
