#include "WithinSink.h"

#include <QuorvelCoreSDK/CoreLogger.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace QuorvelCoreSDK {
namespace {

constinit std::atomic<LogLevel> threshold{LogLevel::warn};

using SharedSink = std::shared_ptr<const CoreLogger::Sink>;

struct HostSink {
  std::mutex mutex;
  SharedSink sink;
};

HostSink& hostSink() {
  static auto& sink = *new HostSink;  // leaked: the worker may log while the process ends
  return sink;
}

void writeToStandardError(LogLevel level, std::string_view line) {
  std::string text(nameOf(level));
  text.append(": ").append(line).append("\n");
  std::fwrite(text.data(), 1, text.size(), stderr);
}

void log(LogLevel level, std::string_view line) {
  if (level < threshold.load(std::memory_order_relaxed)) return;
  if (WithinSink::isSo()) {  // what a sink causes does not come back to it, or it might never end
    if (level >= LogLevel::warn) writeToStandardError(level, line);
    return;
  }
  const WithinSink within;
  SharedSink sink;
  {
    auto& host = hostSink();
    const std::lock_guard lock(host.mutex);
    sink = host.sink;
  }
  sink ? (*sink)(level, line) : writeToStandardError(level, line);
}

}  // namespace

std::string_view nameOf(LogLevel level) {
  static constexpr auto names =
      std::to_array<std::string_view>({"debug", "info", "warn", "error", "off"});
  return names[std::to_underlying(level)];
}

void CoreLogger::error(std::string_view line) {
  log(LogLevel::error, line);
}
void CoreLogger::warn(std::string_view line) {
  log(LogLevel::warn, line);
}
void CoreLogger::info(std::string_view line) {
  log(LogLevel::info, line);
}
void CoreLogger::debug(std::string_view line) {
  log(LogLevel::debug, line);
}

void CoreLogger::setLevel(LogLevel level) {
  threshold = level;
}

void CoreLogger::setSink(Sink sink) {
  SharedSink shared = sink ? std::make_shared<const Sink>(std::move(sink)) : nullptr;
  auto& host = hostSink();
  const std::lock_guard lock(host.mutex);
  std::swap(host.sink, shared);  // the earlier one goes after the lock does
}

}  // namespace QuorvelCoreSDK
