#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

namespace PellixApp {

/// What is known about the person's terminal, if there is one.
struct Terminal {
  bool isInteractive = false;  ///< It is there, and standard input is one too.
  bool hasColours = false;     ///< It shows colours, and NO_COLOR is unset.
  std::size_t width = 0;       ///< Columns; 0: lines are as long as they are.

  /// What a stream goes to. Asked for at each call, for the person may change its size.
  [[nodiscard]] static Terminal of(std::FILE* stream);

  /// A line feed at the end stays outside.
  [[nodiscard]] std::string bold(std::string_view text) const;
  [[nodiscard]] std::string faint(std::string_view text) const;

  /// The text in lines of no more than `width` columns, broken at blanks if that can be, each
  /// behind `indent` where there is room for it, and each with a line feed at its end. Wide
  /// characters count as two columns, and lines may break between them.
  [[nodiscard]] std::string fit(std::string_view text, std::string_view indent = {}) const;

  /// The same behind a label, or below it where there is no room.
  [[nodiscard]] std::string fitBehind(std::string_view label, std::string_view text) const;
};

/// Writes to standard error. Does not throw where that can't be written: there is nowhere left to
/// say so, and what else there is to do, down to the exit code, is done all the same.
void tell(std::string_view text);

}  // namespace PellixApp
