#pragma once

#include <gtest/gtest.h>

#include <string>

namespace Support {

/// Keeps back what is printed on standard output while it lives.
class StandardOutput {
 public:
  StandardOutput() { testing::internal::CaptureStdout(); }
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;
  ~StandardOutput() { testing::internal::GetCapturedStdout(); }

  /// All that was printed so far.
  [[nodiscard]] std::string text() const {
    text_ += testing::internal::GetCapturedStdout();
    testing::internal::CaptureStdout();
    return text_;
  }

 private:
  mutable std::string text_;
};

}  // namespace Support
