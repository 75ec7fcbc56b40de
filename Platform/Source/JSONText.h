#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

/// The text of JSON strings, sixteen bytes at a time where nothing needs a closer look.
namespace PellixPlatform::JSONText {

using Block = unsigned char __attribute__((vector_size(16)));

/// How many bytes of a block stand for themselves in a string, from its first one on: up to a
/// quotation mark, a backslash or a control character.
inline std::size_t plainBytes(Block block) {
  using Halves = std::uint64_t __attribute__((vector_size(16)));
  const auto halves = std::bit_cast<Halves>((block == '"') | (block == '\\') | (block < 0x20));
  const auto bytes = [](std::uint64_t half) {
    constexpr bool isLittle = std::endian::native == std::endian::little;
    return static_cast<std::size_t>(isLittle ? std::countr_zero(half) : std::countl_zero(half)) / 8;
  };
  return halves[0] ? bytes(halves[0]) : 8 + bytes(halves[1]);
}

/// The next block of a text. Behind the text's end there are zeros, which stand for nothing.
inline Block blockAt(const char* from, const char* end) {
  Block block;
  if (end - from >= std::ptrdiff_t{sizeof block}) [[likely]] {
    std::memcpy(&block, from, sizeof block);
    return block;
  }
  block = Block{};
  std::memcpy(&block, from, static_cast<std::size_t>(end - from));
  return block;
}

/// Where text that stands for itself ends.
inline const char* skipPlain(const char* from, const char* end) {
  while (true) {
    const auto plain = plainBytes(blockAt(from, end));
    from += plain;
    if (plain < sizeof(Block)) return from;
  }
}

/// How far the reading of escaped text has come, and what is wrong there, if anything. What works
/// on it is always inlined, so that it lives in registers: half of the time is at stake.
struct Cursor {
  const char* from;
  const char* const end;
  char* to;
  std::string_view fault;

  [[nodiscard]] bool at(char c) const { return from != end && *from == c; }
};

/// Copies text that stands for itself. It writes up to a block beyond the copy.
[[gnu::always_inline]] inline void copyPlain(Cursor& cursor) {
  while (true) {
    const auto block = blockAt(cursor.from, cursor.end);
    std::memcpy(cursor.to, &block, sizeof block);
    const auto plain = plainBytes(block);
    cursor.from += plain;
    cursor.to += plain;
    if (plain < sizeof block) return;
  }
}

template <class... Bytes>
[[gnu::always_inline]] inline void write(Cursor& cursor, Bytes... bytes) {
  ((*cursor.to++ = static_cast<char>(bytes)), ...);
}

/// Writes a character in UTF-8 that is one code unit in UTF-16.
[[gnu::always_inline]] inline void writeUnit(Cursor& cursor, std::uint32_t c) {
  if (c < 0x80) {
    write(cursor, c);
  } else if (c < 0x800) {
    write(cursor, 0xC0 | c >> 6, 0x80 | (c & 0x3F));
  } else {
    write(cursor, 0xE0 | c >> 12, 0x80 | (c >> 6 & 0x3F), 0x80 | (c & 0x3F));
  }
}

/// Writes a character in UTF-8 that is a surrogate pair in UTF-16.
[[gnu::always_inline]] inline void writePair(Cursor& cursor, std::uint32_t high,
                                             std::uint32_t low) {
  const auto c = 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
  write(cursor, 0xF0 | c >> 18, 0x80 | (c >> 12 & 0x3F), 0x80 | (c >> 6 & 0x3F), 0x80 | (c & 0x3F));
}

template <class T>
using ByteTable = std::array<T, 256>;

/// What a letter behind a backslash stands for; 0: nothing.
inline constexpr auto simpleEscapes = [] {
  constexpr std::string_view letters = "\"\\/bfnrt";
  constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
  ByteTable<char> table{};
  for (std::size_t i = 0; i < letters.size(); ++i) {
    table[static_cast<unsigned char>(letters[i])] = meanings[i];
  }
  return table;
}();

/// Too large for any number of four digits.
inline constexpr std::uint32_t noDigit = 0x10000;

/// The values of hexadecimal digits.
inline constexpr auto hexDigits = [] {
  ByteTable<std::uint32_t> table{};
  table.fill(noDigit);
  for (std::uint32_t i = 0; i < 10; ++i) table['0' + i] = i;
  for (std::uint32_t i = 0; i < 6; ++i) table['a' + i] = table['A' + i] = 10 + i;
  return table;
}();

/// Reads four digits behind a "u".
[[gnu::always_inline]] inline std::uint32_t readCodeUnit(Cursor& cursor) {
  std::uint32_t unit = noDigit;
  if (cursor.end - cursor.from > 4 && *cursor.from == 'u') {
    const auto digit = [&](std::size_t i) {
      return hexDigits[static_cast<unsigned char>(cursor.from[i])];
    };
    unit = digit(1) << 12 | digit(2) << 8 | digit(3) << 4 | digit(4);
  }
  if (unit >= noDigit) {
    cursor.fault = "a string holds an unknown escape";
    cursor.from += cursor.at('u');
    return {};
  }
  cursor.from += 5;
  return unit;
}

/// Reads one escape.
[[gnu::always_inline]] inline void readEscape(Cursor& cursor) {
  ++cursor.from;
  const bool isOver = cursor.from == cursor.end;
  if (const char meaning =
          isOver ? '\0' : simpleEscapes[static_cast<unsigned char>(*cursor.from)]) {
    *cursor.to++ = meaning;
    ++cursor.from;
    return;
  }
  const auto unit = readCodeUnit(cursor);
  if (unit < 0xD800 || 0xDFFF < unit) {
    writeUnit(cursor, unit);
    return;
  }
  std::uint32_t low{};
  if (unit < 0xDC00 && std::string_view(cursor.from, cursor.end).starts_with("\\u")) {
    ++cursor.from;
    low = readCodeUnit(cursor);
  }
  if (0xDC00 <= low && low <= 0xDFFF) {
    writePair(cursor, unit, low);
  } else if (cursor.fault.empty()) {
    cursor.fault = "a string holds half a surrogate pair";
  }
}

/// Reads four escapes at once for as long as they stand next to each other and all are characters
/// of three bytes in UTF-8, as in text that is neither Latin nor an emoji.
[[gnu::always_inline]] inline void readRunOfEscapes(Cursor& cursor) {
  using Four = std::uint32_t __attribute__((vector_size(16)));
  constexpr std::ptrdiff_t length = 6;  // bytes of one, digits included
  while (cursor.end - cursor.from >= 4 * length) {
    const auto load = [&](auto value, std::ptrdiff_t at) {
      std::memcpy(&value, cursor.from + at, sizeof value);
      return value;
    };
    const auto mark = [&](std::ptrdiff_t i) { return load(std::uint16_t{}, i * length); };
    const auto digits = [&](std::ptrdiff_t i) { return load(std::uint32_t{}, i * length + 2); };
    // Never equal where the high byte comes first, so that this goes by the low one first alone.
    constexpr auto u = std::uint16_t{'\\'} | std::uint16_t{'u'} << 8;
    if (mark(0) != u || mark(1) != u || mark(2) != u || mark(3) != u) return;

    const auto text = std::bit_cast<Block>(Four{digits(0), digits(1), digits(2), digits(3)});
    const Block decimal = text - '0';
    const Block letter = (text | 0x20) - 'a';
    const Block isDecimal = decimal < 10;
    const Block isLetter = letter < 6;
    const auto values = std::bit_cast<Four>((decimal & isDecimal) | ((letter + 10) & isLetter));
    const Four bytes = (values << 4 | values >> 8) & 0x00FF00FF;
    const Four units = (bytes << 8 | bytes >> 16) & 0xFFFF;

    const Four isOther = (units < 0x800) | ((units & 0xF800) == 0xD800);
    using Halves = std::uint64_t __attribute__((vector_size(16)));
    const auto bad = std::bit_cast<Halves>(std::bit_cast<Block>(isOther) | ~(isDecimal | isLetter));
    if ((bad[0] | bad[1]) != 0) return;

    const Four encoded = 0x8080E0 | units >> 12 | (units & 0xFC0) << 2 | (units & 0x3F) << 16;
    for (std::size_t i = 0; i < 4; ++i) {
      const std::uint32_t bytesOfOne = encoded[i];
      std::memcpy(cursor.to, &bytesOfOne, sizeof bytesOfOne);
      cursor.to += 3;
    }
    cursor.from += 4 * length;
  }
}

/// Reads a string's text from an escape on, up to a fault or to what is neither plain nor an
/// escape.
inline Cursor readEscaped(Cursor cursor) {
  while (cursor.at('\\')) {
    readEscape(cursor);
    if (!cursor.fault.empty()) break;
    // One often stands alone, so the next one is looked at before a run is tried.
    if (cursor.at('\\')) readRunOfEscapes(cursor);
    // Where everything is escaped, the next one's place is known without a look at a block.
    if (!cursor.at('\\')) copyPlain(cursor);
  }
  return cursor;
}

}  // namespace PellixPlatform::JSONText
