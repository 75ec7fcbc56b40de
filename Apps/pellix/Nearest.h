#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace PellixApp {

/// The one of `known` that a misspelt word most probably means; empty if none is near.
[[nodiscard]] std::string nearest(std::string_view word, const std::vector<std::string>& known);

}  // namespace PellixApp
