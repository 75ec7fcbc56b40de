#pragma once

#include <string>
#include <string_view>

namespace PellixApp {

/// HTML as printable text: markup gone, paragraphs and list items on lines of their own, links
/// followed by their address. However it is made, it takes time in proportion to its size.
[[nodiscard]] std::string plainText(std::string_view html);

}  // namespace PellixApp
