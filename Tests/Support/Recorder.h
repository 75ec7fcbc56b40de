#pragma once

#include <QuorvelCoreSDK/CoreLogger.h>

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Support {

/// Collects every line of the log while it lives, each as "level: text".
class LogRecorder {
 public:
  LogRecorder() {
    using QuorvelCoreSDK::CoreLogger;
    CoreLogger::setLevel(QuorvelCoreSDK::LogLevel::debug);
    CoreLogger::setSink([lines = lines_](QuorvelCoreSDK::LogLevel level, std::string_view line) {
      const std::lock_guard lock(lines->mutex);
      lines->texts.push_back(std::string(nameOf(level)) + ": " + std::string(line));
    });
  }
  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;
  ~LogRecorder() {
    QuorvelCoreSDK::CoreLogger::setSink(nullptr);
    QuorvelCoreSDK::CoreLogger::setLevel(QuorvelCoreSDK::LogLevel::warn);
  }

  [[nodiscard]] std::vector<std::string> lines() const {
    const std::lock_guard lock(lines_->mutex);
    return lines_->texts;
  }

  /// What was logged since this was last called.
  [[nodiscard]] std::vector<std::string> newLines() {
    auto all = lines();
    all.erase(all.begin(), all.begin() + std::exchange(seen_, std::ssize(all)));
    return all;
  }

 private:
  struct Lines {
    std::mutex mutex;
    std::vector<std::string> texts;
  };
  std::shared_ptr<Lines> lines_ = std::make_shared<Lines>();
  std::ptrdiff_t seen_ = 0;
};

}  // namespace Support
