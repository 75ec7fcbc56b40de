#include "CharacterReference.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>

namespace PellixApp {
namespace {

struct Name {
  std::string_view name;
  std::int32_t codePoint;
};

/// Those that people and editors write, Latin letters apart.
constexpr auto names = std::to_array<Name>(
    {{"amp", '&'},      {"apos", '\''},     {"bull", 0x2022},   {"euro", 0x20AC},
     {"gt", '>'},       {"harr", 0x2194},   {"hellip", 0x2026}, {"larr", 0x2190},
     {"ldquo", 0x201C}, {"lsaquo", 0x2039}, {"lsquo", 0x2018},  {"lt", '<'},
     {"mdash", 0x2014}, {"minus", 0x2212},  {"ndash", 0x2013},  {"quot", '"'},
     {"rarr", 0x2192},  {"rdquo", 0x201D},  {"rsaquo", 0x203A}, {"rsquo", 0x2019},
     {"trade", 0x2122}, {"bdquo", 0x201E},  {"sbquo", 0x201A},  {"ensp", 0x2002},
     {"emsp", 0x2003},  {"thinsp", 0x2009}});

/// Of U+00A0 and the characters behind it, in their order.
constexpr std::array<std::string_view, 96> latinNames{
    "nbsp",   "iexcl",  "cent",   "pound",  "curren", "yen",    "brvbar", "sect",   "uml",
    "copy",   "ordf",   "laquo",  "not",    "shy",    "reg",    "macr",   "deg",    "plusmn",
    "sup2",   "sup3",   "acute",  "micro",  "para",   "middot", "cedil",  "sup1",   "ordm",
    "raquo",  "frac14", "frac12", "frac34", "iquest", "Agrave", "Aacute", "Acirc",  "Atilde",
    "Auml",   "Aring",  "AElig",  "Ccedil", "Egrave", "Eacute", "Ecirc",  "Euml",   "Igrave",
    "Iacute", "Icirc",  "Iuml",   "ETH",    "Ntilde", "Ograve", "Oacute", "Ocirc",  "Otilde",
    "Ouml",   "times",  "Oslash", "Ugrave", "Uacute", "Ucirc",  "Uuml",   "Yacute", "THORN",
    "szlig",  "agrave", "aacute", "acirc",  "atilde", "auml",   "aring",  "aelig",  "ccedil",
    "egrave", "eacute", "ecirc",  "euml",   "igrave", "iacute", "icirc",  "iuml",   "eth",
    "ntilde", "ograve", "oacute", "ocirc",  "otilde", "ouml",   "divide", "oslash", "ugrave",
    "uacute", "ucirc",  "uuml",   "yacute", "thorn",  "yuml"};

std::optional<std::int32_t> numbered(std::string_view digits) {
  const bool isHexadecimal = digits.starts_with('x') || digits.starts_with('X');
  if (isHexadecimal) digits.remove_prefix(1);
  std::uint32_t c = 0;
  const auto read =
      std::from_chars(digits.data(), digits.data() + digits.size(), c, isHexadecimal ? 16 : 10);
  const bool isWhole = read.ptr == digits.data() + digits.size();
  if (!isWhole || read.ec != std::errc{}) return std::nullopt;
  const auto codePoint = static_cast<std::int32_t>(std::min(c, 0x110000U));
  return utf8proc_codepoint_valid(codePoint) ? codePoint : 0xFFFD;
}

std::optional<std::int32_t> named(std::string_view name) {
  const auto* const row = std::ranges::find(names, name, &Name::name);
  if (row != names.end()) return row->codePoint;
  const auto* const latin = std::ranges::find(latinNames, name);
  if (latin == latinNames.end()) return std::nullopt;
  return static_cast<std::int32_t>(0xA0 + (latin - latinNames.begin()));
}

}  // namespace

std::string takeCharacterReference(std::string_view& html) {
  constexpr std::size_t longest = 12;
  const auto end = html.substr(0, longest).find(';');
  const auto reference = html.substr(1, end == html.npos ? 0 : end - 1);
  const auto c = reference.starts_with('#') ? numbered(reference.substr(1)) : named(reference);
  html.remove_prefix(c ? end + 1 : 1);
  if (!c) return "&";
  std::array<utf8proc_uint8_t, 4> bytes{};
  const auto length = utf8proc_encode_char(*c, bytes.data());
  return {bytes.begin(), bytes.begin() + length};
}

}  // namespace PellixApp
