#include "../WithinSink.h"

#include <PellixPlatform/internal/Bridge/Callbacks.h>
#include <QuorvelCoreSDK/CoreLogger.h>
#include <QuorvelCoreSDK/QVLQuorvelCore.h>

#include <algorithm>
#include <string>
#include <utility>

using namespace PellixPlatform::Bridge;
using QuorvelCoreSDK::CoreLogger;
using QuorvelCoreSDK::LogLevel;

static_assert(static_cast<int>(LogLevel::debug) == QVLLogLevelDebug);
static_assert(static_cast<int>(LogLevel::info) == QVLLogLevelInfo);
static_assert(static_cast<int>(LogLevel::warn) == QVLLogLevelWarn);
static_assert(static_cast<int>(LogLevel::error) == QVLLogLevelError);
static_assert(static_cast<int>(LogLevel::off) == QVLLogLevelOff);

void QVLCoreLogger_setLevel(int level) {
  CoreLogger::setLevel(
      static_cast<LogLevel>(std::clamp<int>(level, QVLLogLevelDebug, QVLLogLevelOff)));
}

bool QVLCoreLogger_setSink(QVLLogSink sink, void* context, QVLContextRelease release) {
  return withMemory([&] {
    auto held = makeContext(context, release);
    if (!sink) return CoreLogger::setSink(nullptr);
    CoreLogger::setSink([sink, held = std::move(held)](LogLevel level, std::string_view line) {
      const auto grade = static_cast<int>(level);
      if (isCalledHere()) return sink(grade, line.data(), line.size(), held.get());
      withMemory([&] {
        callLater([sink, held, grade, text = std::string(line)] {
          const QuorvelCoreSDK::WithinSink within;
          sink(grade, text.data(), text.size(), held.get());
        });
      });
    });
  });
}
