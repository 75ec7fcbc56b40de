#pragma once

#include <map>
#include <string>
#include <vector>

namespace Support {

/// What a program that has ended leaves behind.
struct Outcome {
  int exitCode = -1;  ///< Minus the signal's number if a signal ended it.
  std::string output;
  std::string errors;
};

/// Runs a program to its end with an environment of just these variables, and `input` on standard
/// input. The first of `arguments` is the program's path.
[[nodiscard]] Outcome runProcess(std::vector<std::string> arguments,
                                 const std::map<std::string, std::string>& environment = {},
                                 const std::string& input = {});

}  // namespace Support
