#pragma once

#include "ExitCode.h"

#include <expected>
#include <filesystem>
#include <optional>
#include <string>

namespace PellixApp {

enum class Command { ask, settings };

/// What the command line and the environment ask for.
struct Options {
  Command command = Command::ask;

  std::string accountUrl;
  std::string applicationId = "pellix";
  std::string clientId = "pellix-command-line";
  std::optional<std::string> locale;
  std::optional<std::string> token;
  std::filesystem::path certificateAuthorities;
  bool verbose = false;

  std::string question;
  bool json = false;
};

/// Reads the command line. Without a command to run, what there is to say has been said and the
/// result is the code to end with.
[[nodiscard]] std::expected<Options, ExitCode> readOptions(int argc, char** argv);

}  // namespace PellixApp
