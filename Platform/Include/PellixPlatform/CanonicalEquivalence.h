#pragma once

#include <PellixPlatform/Export.h>

#include <string_view>

namespace PellixPlatform {

/// Whether two UTF-8 texts are canonically equivalent (Unicode Standard Annex #15): a precomposed
/// letter equals the letter followed by its combining marks. Text that is not valid UTF-8 equals
/// only the same bytes.
[[nodiscard]] PELLIX_EXPORT bool canonicallyEquivalent(std::string_view a, std::string_view b);

}  // namespace PellixPlatform
