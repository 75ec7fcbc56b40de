#include "Unicode.h"

namespace AnswerService {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

/// How many bytes follow this first byte; -1 for one that cannot be first.
int continuationsAfter(unsigned char first) {
  if (first < 0x80) return 0;
  if (first >= 0xC2 && first < 0xE0) return 1;
  if (first >= 0xE0 && first < 0xF0) return 2;
  if (first >= 0xF0 && first < 0xF5) return 3;
  return -1;
}

}  // namespace

std::u32string decodeUtf8(std::string_view text) {
  constexpr unsigned kFirstByteMasks[] = {0x7F, 0x1F, 0x0F, 0x07};
  std::u32string decoded;
  for (std::size_t at = 0; at < text.size();) {
    const auto first = static_cast<unsigned char>(text[at++]);
    const int continuations = continuationsAfter(first);
    char32_t c = continuations < 0 ? kReplacement : first & kFirstByteMasks[continuations];
    for (int left = continuations; left > 0; --left) {
      const unsigned next = at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
      if ((next & 0xC0U) != 0x80U) {
        c = kReplacement;
        break;
      }
      c = (c << 6U) | (next & 0x3FU);
      ++at;
    }
    decoded.push_back(c);
  }
  return decoded;
}

std::string encodeUtf8(std::u32string_view text) {
  std::string encoded;
  const auto add = [&encoded](char32_t byte) { encoded.push_back(static_cast<char>(byte)); };
  const auto addContinuation = [&add](char32_t c, unsigned shift) {
    add(0x80U | ((c >> shift) & 0x3FU));
  };
  for (const char32_t c : text) {
    if (c < 0x80) {
      add(c);
    } else if (c < 0x800) {
      add(0xC0U | (c >> 6U));
      addContinuation(c, 0);
    } else if (c < 0x10000) {
      add(0xE0U | (c >> 12U));
      addContinuation(c, 6);
      addContinuation(c, 0);
    } else {
      add(0xF0U | (c >> 18U));
      addContinuation(c, 12);
      addContinuation(c, 6);
      addContinuation(c, 0);
    }
  }
  return encoded;
}

char32_t simpleLower(char32_t c) {
  constexpr char32_t kMultiplicationSign = 0xD7;
  if (c >= 0xFF01 && c <= 0xFF5E) c -= 0xFEE0;
  const bool upper = (c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE && c != kMultiplicationSign);
  return upper ? c + 0x20 : c;
}

}  // namespace AnswerService
