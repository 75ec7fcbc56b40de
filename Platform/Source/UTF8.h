#pragma once

#include <utf8proc.h>

#include <cstdint>
#include <cstring>
#include <string_view>

namespace PellixPlatform {

inline bool isUTF8(std::string_view text) {
  const auto* at = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  const auto* const end = at + text.size();
  while (at != end) {
    constexpr std::uint64_t beyondASCII = 0x8080808080808080;
    std::uint64_t block = beyondASCII;
    if (static_cast<std::size_t>(end - at) >= sizeof block) std::memcpy(&block, at, sizeof block);
    if ((block & beyondASCII) == 0) {
      at += sizeof block;
      continue;
    }
    utf8proc_int32_t character = 0;
    const auto length = utf8proc_iterate(at, end - at, &character);
    if (length < 0) return false;
    at += length;
  }
  return true;
}

}  // namespace PellixPlatform
