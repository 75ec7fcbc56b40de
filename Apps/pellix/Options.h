#pragma once

#include "ExitCode.h"

#include <PellixProvidersSDK/RejectionReason.h>

#include <chrono>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>

namespace PellixApp {

enum class Command { ask, settings, resolve, reject, doctor };

/// What the command line and the environment ask for.
struct Options {
  Command command = Command::ask;

  std::string accountUrl;
  std::string applicationId = "pellix";
  std::string clientId = "pellix-command-line";
  std::optional<std::string> locale;
  std::optional<std::string> token;
  std::filesystem::path certificateAuthorities;
  std::filesystem::path resources;      // empty: what the library carries
  std::chrono::milliseconds timeout{};  // for each request
  bool verbose = false;

  std::string question;
  bool json = false;
  bool timings = false;
  std::filesystem::path report;  // empty: none is written

  std::string interactionFile;             // "-": standard input
  std::optional<std::size_t> articleRank;  // from 1
  std::optional<std::int64_t> articleId;
  PellixProvidersSDK::RejectionReason reason{};
};

/// Says on standard error what is wrong with the command line.
ExitCode refuse(std::string_view sentence);

/// Reads the command line. Without a command to run, what there is to say has been said and the
/// result is the code to end with.
[[nodiscard]] std::expected<Options, ExitCode> readOptions(int argc, char** argv);

}  // namespace PellixApp
