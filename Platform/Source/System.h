#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What depends on the operating system here. A port to another one writes what is declared here,
/// and `readFile` and `makeUUIDString` of the internal headers; `Posix/` shows how.
namespace PellixPlatform::System {

/// The number that a text in the form of JSON's stands for, whatever locale the host has set;
/// infinite if it is out of range.
[[nodiscard]] double parseDouble(const char* text);

/// The person's preferred languages as BCP 47 tags, most preferred first, each once.
[[nodiscard]] std::vector<std::string> preferredLanguages();

/// What an `errno` means, in English, or nothing if there is no such one. A NUL follows it.
[[nodiscard]] std::string_view errorText(std::int64_t number);

}  // namespace PellixPlatform::System
