#pragma once

#include <PellixPlatform/Export.h>

#include <optional>
#include <string>
#include <string_view>

namespace PellixPlatform {

/// Expands a printf-style template that takes exactly one object argument. It knows `%@` (once),
/// `%1$@` (as often as wanted) and `%%`; the argument is put in as it stands and never expanded
/// again. Any other conversion, a lone `%` at the end or a call for a second argument gives
/// nothing.
[[nodiscard]] PELLIX_EXPORT std::optional<std::string> formatTemplate(std::string_view text,
                                                                      std::string_view argument);

}  // namespace PellixPlatform
