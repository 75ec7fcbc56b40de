#pragma once

#include <cstdint>
#include <string_view>

namespace PellixPlatform {

/// The registered text of an HTTP status, or `Unknown status`. A NUL follows it.
[[nodiscard]] std::string_view textOfStatus(std::int64_t code);

}  // namespace PellixPlatform
