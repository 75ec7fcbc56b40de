#pragma once

#include "Doctor/Checks.h"

#include <cstdio>
#include <filesystem>
#include <memory>

namespace PellixApp {

/// A file to attach to a ticket. Tokens and passwords are in no finding; left out here are also the
/// account's path, which may name a customer, the person's home directory, and e-mail addresses.
class ReportFile {
 public:
  /// Throws std::system_error, as `write` does.
  explicit ReportFile(const std::filesystem::path& path);

  /// Writes what was found, as a terminal shows it.
  void write(const std::string& lines, const Examination& examination);

 private:
  [[noreturn]] void fail() const;

  const std::filesystem::path path_;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
};

}  // namespace PellixApp
