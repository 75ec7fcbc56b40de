#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// What numbers as JSON writes them stand for.
namespace PellixPlatform {

/// A number's text as an integer, or nothing if it has a fraction or does not fit.
[[nodiscard]] std::optional<std::int64_t> exactInteger(std::string_view number);

/// A number's text as the nearest double; nothing if it is out of range.
[[nodiscard]] std::optional<double> nearestDouble(std::string_view number);

}  // namespace PellixPlatform
