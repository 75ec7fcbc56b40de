#pragma once

#include <string>
#include <string_view>

namespace PellixApp {

/// HTML as text for people: markup gone, paragraphs and list items on lines of their own, links
/// followed by their address.
[[nodiscard]] std::string plainText(std::string_view html);

/// The same on one line.
[[nodiscard]] std::string plainLine(std::string_view html);

/// A text without control characters (line feeds and blanks apart), so that nothing that a server
/// sent can steer the terminal.
[[nodiscard]] std::string printable(std::string_view text);

}  // namespace PellixApp
