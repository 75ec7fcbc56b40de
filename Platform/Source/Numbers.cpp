#include "Numbers.h"

#include "System.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

namespace PellixPlatform {

namespace {

/// All of a text as an integer, if it is one that fits.
std::optional<std::int64_t> integerIn(std::string_view text) {
  std::int64_t value{};
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool isAll = end == text.data() + text.size() && failure == std::errc{};
  return isAll ? std::optional(value) : std::nullopt;
}

/// A number with a point or an exponent as it is written without; nothing if it has a fraction or
/// is too large.
std::string writtenOut(std::string_view number) {
  const auto exponentAt = std::min(number.find_first_of("eE"), number.size());
  std::string digits;
  // The value is the digits times ten to this power. Modulo 2^64, so a negative one is very large,
  // and so is what overflows in either direction.
  std::uint64_t exponent = 0;
  bool inFraction = false;
  for (const char c : number.substr(0, exponentAt)) {
    if (c == '.') {
      inFraction = true;
      continue;
    }
    digits += c;
    exponent -= inFraction;
  }
  while (digits.ends_with('0')) {
    digits.pop_back();
    ++exponent;
  }
  if (digits.empty() || digits == "-") return "0";

  if (exponentAt < number.size()) {
    auto written = number.substr(exponentAt + 1);
    if (written.starts_with('+')) written.remove_prefix(1);
    const auto value = integerIn(written);
    if (!value) return {};
    exponent += static_cast<std::uint64_t>(*value);
  }
  if (exponent > 18) return {};  // as many zeros as there are in a 64-bit integer
  return digits.append(exponent, '0');
}

}  // namespace

std::optional<std::int64_t> exactInteger(std::string_view number) {
  const bool isPlain = number.find_first_of(".eE") == number.npos;
  return isPlain ? integerIn(number) : integerIn(writtenOut(number));
}

std::optional<double> nearestDouble(std::string_view number) {
  // What is written as an integer is read as one, so that both readers agree on -0.
  if (const auto integer = integerIn(number)) return static_cast<double>(*integer);
  const double value = System::parseDouble(std::string(number).c_str());
  return std::isfinite(value) ? std::optional(value) : std::nullopt;
}

}  // namespace PellixPlatform
