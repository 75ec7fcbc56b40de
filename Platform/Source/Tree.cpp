#include "Tree.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <new>
#include <utility>

namespace Platform {
namespace {

std::uint32_t hexValue(std::string_view digits) {
  std::uint32_t value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  return value;
}

void appendUTF8(std::string& to, std::uint32_t c) {
  const auto byte = [&](std::uint32_t b) { to += static_cast<char>(b); };
  if (c < 0x80) {
    byte(c);
  } else if (c < 0x800) {
    byte(0xC0 | c >> 6);
    byte(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    byte(0xE0 | c >> 12);
    byte(0x80 | (c >> 6 & 0x3F));
    byte(0x80 | (c & 0x3F));
  } else {
    byte(0xF0 | c >> 18);
    byte(0x80 | (c >> 12 & 0x3F));
    byte(0x80 | (c >> 6 & 0x3F));
    byte(0x80 | (c & 0x3F));
  }
}

/// What an escaped JSON text stands for. The parser has checked its form.
std::string unescape(std::string_view text) {
  constexpr std::string_view letters = "bfnrt";
  constexpr std::string_view meanings = "\b\f\n\r\t";
  std::string result;
  result.reserve(text.size());
  while (true) {
    const auto backslash = text.find('\\');
    result += text.substr(0, backslash);
    if (backslash == text.npos) return result;
    const char escape = text[backslash + 1];
    text.remove_prefix(backslash + 2);
    if (escape == 'u') {
      std::uint32_t c = hexValue(text.substr(0, 4));
      text.remove_prefix(4);
      if (0xD800 <= c && c < 0xDC00) {
        c = 0x10000 + ((c - 0xD800) << 10) + (hexValue(text.substr(2, 4)) - 0xDC00);
        text.remove_prefix(6);
      }
      appendUTF8(result, c);
    } else {
      const auto letter = letters.find(escape);
      result += letter == letters.npos ? escape : meanings[letter];
    }
  }
}

locale_t classicLocale() {
  static const locale_t locale = [] {
    const locale_t made = newlocale(LC_ALL_MASK, "C", nullptr);
    return made ? made : throw std::bad_alloc();
  }();
  return locale;
}

}  // namespace

std::string Tree::stringOf(const Node& node) const {
  return node.isEscaped ? unescape(textOf(node)) : std::string(textOf(node));
}

bool Tree::isString(const Node& node, std::string_view wanted) const {
  return node.isEscaped ? unescape(textOf(node)) == wanted : textOf(node) == wanted;
}

std::uint32_t Tree::member(std::uint32_t index, std::string_view key) const {
  const auto end = nodes[index].next;
  for (auto name = index + 1; name < end;) {
    const auto value = name + 1;
    if (isString(nodes[name], key)) return value;
    name = nodes[value].next;
  }
  return none;
}

std::optional<std::int64_t> exactInteger(std::string_view number) {
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
  // Not strtod: a host's setlocale would change what it reads.
  const double value = strtod_l(std::string(number).c_str(), nullptr, classicLocale());
  return std::isfinite(value) ? std::optional(value) : std::nullopt;
}

}  // namespace Platform
