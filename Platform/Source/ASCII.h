#pragma once

/// Characters as protocols have them, whatever locale the host has set.
namespace PellixPlatform::ASCII {

constexpr bool isDigit(char c) {
  return '0' <= c && c <= '9';
}

constexpr bool isLowerCase(char c) {
  return 'a' <= c && c <= 'z';
}

constexpr bool isUpperCase(char c) {
  return 'A' <= c && c <= 'Z';
}

constexpr char lowerCase(char c) {
  return isUpperCase(c) ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace PellixPlatform::ASCII
