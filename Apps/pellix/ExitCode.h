#pragma once

namespace PellixApp {

/// What the process ends with, as the help text lists it.
enum class ExitCode : int {
  answered = 0,
  failed = 1,    // the operation gave an error value, or its result could not be written
  usage = 2,     // the command line is wrong
  disabled = 3,  // the feature is disabled for the account, or its settings can't be had
  silent = 4,    // the operation ended without an answer
};

}  // namespace PellixApp
