#pragma once

#include <utf8proc.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace PellixPlatform {

/// Where a text ceases to be valid UTF-8; its size if all of it is.
inline std::size_t endOfUTF8(std::string_view text) {
  const auto* const begin = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  const auto* const end = begin + text.size();
  const auto* at = begin;
  while (at != end) {
    constexpr std::uint64_t beyondASCII = 0x8080808080808080;
    std::uint64_t block = beyondASCII;
    if (static_cast<std::size_t>(end - at) >= sizeof block) std::memcpy(&block, at, sizeof block);
    if (!(block & beyondASCII)) {
      at += sizeof block;
      continue;
    }
    utf8proc_int32_t character{};
    const auto length = utf8proc_iterate(at, end - at, &character);
    if (length == UTF8PROC_ERROR_INVALIDUTF8) break;
    at += length;
  }
  return static_cast<std::size_t>(at - begin);
}

inline bool isUTF8(std::string_view text) {
  return endOfUTF8(text) == text.size();
}

}  // namespace PellixPlatform
