#include "Numbers.h"

#include "System.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

namespace PellixPlatform {

std::optional<std::int64_t> exactInteger(std::string_view number) {
  std::int64_t plain = 0;
  const auto [stop, misfit] = std::from_chars(number.data(), number.data() + number.size(), plain);
  if (stop == number.data() + number.size() && misfit == std::errc{}) return plain;

  const bool isNegative = number.starts_with('-');
  if (isNegative) number.remove_prefix(1);

  // The value is digits times ten to the power of `exponent`.
  const auto exponentAt = std::min(number.find_first_of("eE"), number.size());
  std::string digits;
  std::int64_t exponent = 0;
  bool inFraction = false;
  for (const char c : number.substr(0, exponentAt)) {
    if (c == '.') {
      inFraction = true;
      continue;
    }
    digits += c;
    exponent -= inFraction;
  }
  digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
  while (digits.ends_with('0')) {
    digits.pop_back();
    ++exponent;
  }
  if (digits.empty()) return 0;

  if (exponentAt < number.size()) {
    auto written = number.substr(exponentAt + 1);
    if (written.starts_with('+')) written.remove_prefix(1);
    std::int64_t value = 0;
    const auto [end, failure] =
        std::from_chars(written.data(), written.data() + written.size(), value);
    constexpr std::int64_t hopeless = std::int64_t{1} << 40;  // beyond what any digits make good
    if (failure != std::errc{} || value < -hopeless || hopeless < value) return std::nullopt;
    exponent += value;
  }
  constexpr std::int64_t longest = 19;  // digits of a signed 64-bit integer
  if (exponent < 0 || exponent + static_cast<std::int64_t>(digits.size()) > longest) {
    return std::nullopt;
  }
  digits.append(static_cast<std::size_t>(exponent), '0');
  if (isNegative) digits.insert(digits.begin(), '-');

  std::int64_t value = 0;
  const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return failure == std::errc{} ? std::optional(value) : std::nullopt;
}

std::optional<double> nearestDouble(std::string_view number) {
  // What is written as an integer is read as one, so that both readers agree on -0.
  std::int64_t integer = 0;
  const auto [end, failure] =
      std::from_chars(number.data(), number.data() + number.size(), integer);
  if (failure == std::errc{} && end == number.data() + number.size()) {
    return static_cast<double>(integer);
  }
  char terminated[32] = {};  // enough for those that are met in practice
  std::string longer;
  if (number.size() < sizeof terminated) {
    number.copy(terminated, number.size());
  } else {
    longer = number;
  }
  const double value = System::parseDouble(longer.empty() ? terminated : longer.c_str());
  return std::isfinite(value) ? std::optional(value) : std::nullopt;
}

}  // namespace PellixPlatform
