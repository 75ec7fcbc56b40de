// What a person is shown of an article in a terminal.
// The input is a character for the terminal's width, one that is '*' if the text is to be repeated
// until more than linear time can't be missed, and the text, as HTML and as it is.

#include "Fuzz.h"
#include "PlainText.h"
#include "Printable.h"
#include "Terminal.h"

#include <nlohmann/json.hpp>
#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <optional>

namespace {

using Fuzz::require;

/// The characters of a text, by RFC 3629; nothing if it is not UTF-8.
std::optional<std::u32string> charactersOf(std::string_view text) {
  std::u32string characters;
  for (std::size_t at = 0; at < text.size();) {
    const auto first = static_cast<std::uint8_t>(text[at++]);
    const int more = first < 0x80 ? 0 : first < 0xC2 ? -1 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
    if (more < 0 || first > 0xF4) return std::nullopt;
    char32_t c = more == 0 ? first : first & (0x3FU >> more);
    for (int i = 0; i < more; ++i) {
      if (at == text.size() || (text[at] & 0xC0) != 0x80) return std::nullopt;
      c = c << 6 | (static_cast<std::uint8_t>(text[at++]) & 0x3FU);
    }
    constexpr std::array<char32_t, 4> least{0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = 0xD800 <= c && c <= 0xDFFF;
    if (c < least[static_cast<std::size_t>(more)] || isSurrogate || c > 0x10FFFF)
      return std::nullopt;
    characters += c;
  }
  return characters;
}

struct Range {
  char32_t first;
  char32_t last;
};

/// Controls, marks of direction, separators, and what is not seen.
constexpr auto harmful = std::to_array<Range>({{0, 9},
                                               {0xB, 0x1F},
                                               {0x7F, 0x9F},
                                               {0xAD, 0xAD},
                                               {0x61C, 0x61C},
                                               {0x115F, 0x1160},
                                               {0x180E, 0x180E},
                                               {0x200B, 0x200B},
                                               {0x200E, 0x200F},
                                               {0x2028, 0x202E},
                                               {0x2060, 0x206F},
                                               {0x3164, 0x3164},
                                               {0xFEFF, 0xFEFF},
                                               {0xFFA0, 0xFFA0},
                                               {0xFFF9, 0xFFFB},
                                               {0x1D173, 0x1D17A},
                                               {0xE0000, 0xE0FFF}});

void checkSafe(std::string_view text) {
  const auto characters = charactersOf(text);
  require(characters.has_value(), "what is shown is UTF-8");
  char32_t before = 0;
  for (const char32_t c : *characters) {
    const auto isIn = [c](Range range) { return range.first <= c && c <= range.last; };
    require(std::ranges::none_of(harmful, isIn), "what is shown steers, turns and hides nothing");
    const bool joins = isIn({0x200C, 0x200D}) || isIn({0xFE00, 0xFE0F});
    require(!joins || before >= 0x80, "nothing unseen stands within ASCII");
    before = c;
  }
}

std::string withoutBlanks(std::string text) {
  std::erase_if(text, [](char c) { return std::string_view(" \t\n\f\r").contains(c); });
  return text;
}

std::string escaped(std::string_view text) {
  std::string html;
  for (const char c : text) html += c == '<' ? "&lt;" : c == '&' ? "&amp;" : std::string(1, c);
  return html;
}

void checkHTML(std::string_view html) {
  const auto text = PellixApp::plainText(html);
  checkSafe(text);
  // An item's number may be as long as this for its four bytes of markup.
  constexpr std::size_t longest = std::string_view("2147483647. \n").size();
  require(text.size() <= (html.size() / 4 + 1) * longest, "what is shown has a bound");
  require(withoutBlanks(PellixApp::plainText(escaped(html))) ==
              withoutBlanks(PellixApp::printable(html)),
          "what is escaped is shown as it is");
}

void checkPrintable(std::string_view text) {
  const auto shown = PellixApp::printable(text);
  checkSafe(shown);
  require(shown.size() <= text.size(), "nothing is added");
  require(PellixApp::printable(shown) == shown, "what is safe stays as it is");
  const auto line = PellixApp::oneLine(text);
  checkSafe(line);
  require(!line.contains('\n'), "a line is one");
  const auto address = PellixApp::printableURL(text);
  require(std::ranges::all_of(address, [](char c) { return '!' <= c && c <= '~'; }),
          "an address is ASCII");
  if (!charactersOf(text)) return;
  const nlohmann::json document(text);
  const auto json = PellixApp::printableJSON(document.dump());
  checkSafe(json);
  require(nlohmann::json::parse(json) == document, "a document stays the same");
}

/// Whether a line has no more columns than that, or else no more than one character that is seen.
bool fits(std::string_view line, std::size_t width) {
  std::size_t columns = 0;
  std::size_t seen = 0;
  const auto characters = charactersOf(line).value();
  for (const char32_t c : characters) {
    const int taken = utf8proc_charwidth(static_cast<utf8proc_int32_t>(c));
    if (taken <= 0) continue;
    columns += static_cast<std::size_t>(taken);
    ++seen;
  }
  return width == 0 || columns <= width || seen == 1;
}

void checkLines(const std::string& text, const PellixApp::Terminal& terminal) {
  constexpr std::string_view indent = "   ";
  constexpr std::string_view label = "1. ";
  const auto behind = terminal.fitBehind(label, text);
  require(withoutBlanks(behind) == withoutBlanks(std::string(label) + text), "nothing is lost");
  const auto lines = terminal.fit(text, indent);
  require(withoutBlanks(lines) == withoutBlanks(text), "nothing is lost, nor added");
  for (std::string_view rest = lines; !rest.empty();) {
    const auto line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(line.size() + 1);
    require(fits(line, terminal.width), "a line fits");
  }
  for (const auto& styled : {terminal.bold(lines), terminal.faint(lines)}) {
    require(styled.size() == lines.size() + (terminal.hasColours ? 8 : 0), "colours end");
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Fuzz::Input input(Fuzz::textOf(data, size));
  const std::size_t width = input.byte();
  const bool isLong = input.byte() == '*';
  const auto piece = Fuzz::textOf(data, size).substr(std::min<std::size_t>(2, size));
  const PellixApp::Terminal terminal{.hasColours = width % 2 != 0, .width = width};
  if (!isLong) {
    checkHTML(piece);
    checkPrintable(piece);
    for (const auto& text : {PellixApp::plainText(piece), PellixApp::oneLine(piece)}) {
      checkLines(text, terminal);
    }
    return 0;
  }
  constexpr std::size_t enough = 300'000;
  std::string html;
  while (!piece.empty() && html.size() < enough) html += piece;
  static_cast<void>(terminal.fit(PellixApp::plainText(html)));
  return 0;
}
