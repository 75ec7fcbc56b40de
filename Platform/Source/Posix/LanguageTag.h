#pragma once

#include <string>
#include <string_view>

namespace PellixPlatform {

/// The BCP 47 tag for a POSIX locale name, `language[_REGION][.encoding][@modifier]`; empty if it
/// names no language (`C`, `POSIX`) or only by an alias (`german`).
[[nodiscard]] std::string languageTag(std::string_view localeName);

}  // namespace PellixPlatform
