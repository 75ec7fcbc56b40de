#pragma once

#include <string>
#include <vector>

/// What depends on the operating system. A port to another one writes what is declared here, and
/// `readFile` and `makeUUIDString` of the internal headers; `Posix/` shows how.
namespace PellixPlatform::System {

/// The number that a text in the form of JSON's stands for, whatever locale the host has set;
/// infinite if it is out of range.
[[nodiscard]] double parseDouble(const char* text);

/// The person's preferred languages as BCP 47 tags, most preferred first, each once.
[[nodiscard]] std::vector<std::string> preferredLanguages();

}  // namespace PellixPlatform::System
