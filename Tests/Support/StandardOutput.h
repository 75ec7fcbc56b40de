#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

namespace Support {

/// Keeps back what is printed on standard output while it lives.
class StandardOutput {
 public:
  StandardOutput() : file_(std::tmpfile()) {
    std::fflush(stdout);
    original_ = ::dup(STDOUT_FILENO);
    ::dup2(::fileno(file_), STDOUT_FILENO);
  }
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;
  ~StandardOutput() {
    std::fflush(stdout);
    ::dup2(original_, STDOUT_FILENO);
    ::close(original_);
    std::fclose(file_);
  }

  /// All that was printed so far.
  [[nodiscard]] std::string text() const {
    std::fflush(stdout);
    std::string text(1 << 16, '\0');
    const auto size = ::pread(::fileno(file_), text.data(), text.size(), 0);
    text.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return text;
  }

 private:
  std::FILE* file_;
  int original_ = -1;
};

}  // namespace Support
