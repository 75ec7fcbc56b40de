#pragma once

#include <string>
#include <string_view>

namespace PellixApp {

/// Takes an HTML character reference, such as `&amp;` or `&#38;`, off a text that starts with an
/// ampersand, and returns what it stands for. An ampersand that begins none stands for itself.
[[nodiscard]] std::string takeCharacterReference(std::string_view& html);

}  // namespace PellixApp
