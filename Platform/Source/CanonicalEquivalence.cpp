#include "UTF8.h"

#include <PellixPlatform/CanonicalEquivalence.h>

#include <utf8proc.h>

#include <algorithm>
#include <vector>

namespace PellixPlatform {
namespace {

bool isAscii(char c) {
  return static_cast<unsigned char>(c) < 0x80;
}

int combiningClass(utf8proc_int32_t c) {
  return utf8proc_get_property(c)->combining_class;
}

/// The canonical decomposition of a text in valid UTF-8. Not by `utf8proc_map`: what that takes to
/// put marks in order grows with the square of their number.
std::vector<utf8proc_int32_t> decomposition(std::string_view text) {
  constexpr auto options = static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_DECOMPOSE);
  constexpr std::size_t longest = 4;  // decomposition of one character
  std::vector<utf8proc_int32_t> result;
  result.reserve(text.size());
  auto at = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  for (const auto end = at + text.size(); at < end;) {
    utf8proc_int32_t c = 0;
    at += utf8proc_iterate(at, end - at, &c);
    utf8proc_int32_t parts[longest];
    const auto count = utf8proc_decompose_char(c, parts, longest, options, nullptr);
    result.insert(result.end(), parts, parts + count);
  }
  const auto isMark = [](utf8proc_int32_t c) { return combiningClass(c) > 0; };
  for (auto end = result.begin(); end != result.end();) {
    const auto begin = std::find_if(end, result.end(), isMark);
    end = std::find_if_not(begin, result.end(), isMark);
    std::ranges::stable_sort(begin, end, {}, combiningClass);
  }
  return result;
}

}  // namespace

bool canonicallyEquivalent(std::string_view a, std::string_view b) {
  const auto [inA, inB] = std::ranges::mismatch(a, b);
  if (inA == a.end() && inB == b.end()) return true;

  // What stands before the last common ASCII character can't change the rest: such a character is
  // a starter, so nothing is reordered or composed across it.
  auto start = static_cast<std::size_t>(inA - a.begin());
  while (start > 0) {
    if (isAscii(a[--start])) break;
  }

  return isUTF8(a) && isUTF8(b) && decomposition(a.substr(start)) == decomposition(b.substr(start));
}

}  // namespace PellixPlatform
