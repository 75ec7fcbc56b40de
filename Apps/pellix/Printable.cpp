#include "Printable.h"

#include <fmt/format.h>
#include <utf8proc.h>

#include <algorithm>
#include <iterator>

namespace PellixApp {
namespace {

/// Whether it is seen, and neither moves the cursor nor reorders what stands around it.
bool isPrintable(std::int32_t c, std::int32_t before) {
  // Joiners and variants belong to many scripts and to pictures; within ASCII they only deceive.
  const bool joins = c == 0x200C || c == 0x200D || (0xFE00 <= c && c <= 0xFE0F);
  if (joins) return before >= 0x80;
  const auto& property = *utf8proc_get_property(c);
  switch (property.category) {
    case UTF8PROC_CATEGORY_CC:
    case UTF8PROC_CATEGORY_CF:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
      return false;
    default:
      return !property.ignorable;
  }
}

bool breaksLine(std::int32_t c) {
  return c == '\n' || c == '\v' || c == '\f' || c == 0x85 || c == 0x2028 || c == 0x2029;
}

/// The text with what `replace` appends in place of each character that is not printable.
template <class Replace>
std::string replaced(std::string_view text, Replace replace) {
  std::string result;
  result.reserve(text.size());
  for (std::int32_t before = 0; !text.empty();) {
    const auto [bytes, c] = firstCharacter(text);
    if (c < 0) {
      result += '?';
      before = '?';
    } else if (isPrintable(c, before)) {
      result += bytes;
      before = c;
    } else {
      replace(c, result);
      before = 0;
    }
    text.remove_prefix(bytes.size());
  }
  return result;
}

}  // namespace

std::string printable(std::string_view text) {
  return replaced(text, [](std::int32_t c, std::string& result) {
    if (breaksLine(c)) result += '\n';
    if (c == '\t') result += ' ';
  });
}

std::string oneLine(std::string_view text) {
  auto line = printable(text);
  std::ranges::replace(line, '\n', ' ');
  return line;
}

std::string printableURL(std::string_view address) {
  std::string result;
  for (const char c : address) {
    const bool isPlain = '!' <= c && c <= '~';
    result += isPlain ? std::string(1, c) : fmt::format("%{:02X}", static_cast<unsigned char>(c));
  }
  return result;
}

std::string printableJSON(std::string_view document) {
  return replaced(document, [](std::int32_t c, std::string& result) {
    const auto unit = [&result](std::int32_t value) {
      fmt::format_to(std::back_inserter(result), "\\u{:04x}", value);
    };
    if (c >= 0x10000) unit(0xD7C0 + (c >> 10));
    unit(c >= 0x10000 ? 0xDC00 + (c & 0x3FF) : c);
  });
}

Character firstCharacter(std::string_view text) {
  utf8proc_int32_t c = 0;
  const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                       static_cast<utf8proc_ssize_t>(text.size()), &c);
  if (length <= 0) return {text.substr(0, 1), -1};
  return {text.substr(0, static_cast<std::size_t>(length)), c};
}

}  // namespace PellixApp
