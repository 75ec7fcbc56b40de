#include "UTF8.h"

#include <PellixPlatform/CanonicalEquivalence.h>

#include <utf8proc.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace PellixPlatform {
namespace {

int combiningClass(utf8proc_int32_t c) {
  return utf8proc_get_property(c)->combining_class;
}

/// The canonical decomposition of a text in valid UTF-8. Not by `utf8proc_map`: what that takes to
/// put marks in order grows with the square of their number.
std::vector<utf8proc_int32_t> decomposition(std::string_view text) {
  constexpr auto options = static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_DECOMPOSE);
  std::vector<utf8proc_int32_t> result;
  result.reserve(text.size());
  auto at = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  for (const auto end = at + text.size(); at < end;) {
    utf8proc_int32_t c{};
    at += utf8proc_iterate(at, end - at, &c);
    utf8proc_int32_t parts[4];  // the most that one character has
    const auto count = utf8proc_decompose_char(c, parts, std::ssize(parts), options, nullptr);
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
  if (a == b) return true;
  return isUTF8(a) && isUTF8(b) && decomposition(a) == decomposition(b);
}

}  // namespace PellixPlatform
