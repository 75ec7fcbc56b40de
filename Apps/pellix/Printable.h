#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace PellixApp {

/// A text from elsewhere as lines of UTF-8 that can't steer a terminal, nor hide or reorder what
/// is read: line breaks of all kinds are line feeds, other controls and what is not to be seen are
/// gone, and bytes that are not UTF-8 are "?".
[[nodiscard]] std::string printable(std::string_view text);

/// The same on one line.
[[nodiscard]] std::string oneLine(std::string_view text);

/// An address in ASCII, the rest percent-encoded: it may be longer than a line of the terminal, and
/// what follows the break must not look like another line.
[[nodiscard]] std::string printableURL(std::string_view address);

/// A JSON document with escapes in place of such characters: still the same document.
[[nodiscard]] std::string printableJSON(std::string_view document);

/// A character: its bytes, and its code point, which is negative for a byte that is not UTF-8.
struct Character {
  std::string_view bytes;
  std::int32_t codePoint;
};

/// The first character of a text that is not empty.
[[nodiscard]] Character firstCharacter(std::string_view text);

}  // namespace PellixApp
