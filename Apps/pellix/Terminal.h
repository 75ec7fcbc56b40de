#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace PellixApp {

/// What is known about the person's terminal, if there is one.
struct Terminal {
  bool isInteractive = false;  ///< Standard input and output are a terminal.
  bool hasOutput = false;      ///< Standard output is one.
  bool hasErrors = false;      ///< Standard error is one.
  bool hasColours = false;  ///< Standard output is one that shows colours, and NO_COLOR is unset.
  std::size_t width = 0;    ///< Columns; 0: lines are as long as they are.

  /// Asked for at each call, for the person may change its size.
  [[nodiscard]] static Terminal look();

  [[nodiscard]] std::string bold(std::string_view text) const;
  [[nodiscard]] std::string faint(std::string_view text) const;

  /// The text in lines of no more than `width` columns, each behind `indent`, and each with a line
  /// feed at its end. Wide characters count as two columns, and lines may break between them.
  [[nodiscard]] std::string fit(std::string_view text, std::string_view indent) const;
};

}  // namespace PellixApp
