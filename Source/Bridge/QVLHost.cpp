#include "Bridge/Memory.h"
#include "Bridge/Text.h"

#include <PellixPlatform/Bundle.h>
#include <PellixPlatform/DispatchQueue.h>
#include <QuorvelCoreSDK/CoreLogger.h>

#include <algorithm>

using namespace PellixProvidersSDK::Bridge;
using PellixPlatform::DispatchQueue;
using QuorvelCoreSDK::CoreLogger;
using QuorvelCoreSDK::LogLevel;

void QVLMainQueue_run() {
  // An operation that ran out of memory has ended; those behind it go on.
  while (!withMemory([] { DispatchQueue::main().run(); })) continue;
}

void QVLMainQueue_runPending() {
  // Whatever is left then, the wake hook tells.
  withMemory([] { DispatchQueue::main().runPending(); });
}

void QVLMainQueue_stop() {
  DispatchQueue::main().stop();
}

bool QVLMainQueue_setWakeHook(QVLWakeHook hook, void* context, QVLContextRelease release) {
  return withMemory([&] {
    auto held = makeContext(context, release);
    if (!hook) return DispatchQueue::main().setWakeHook(nullptr);
    DispatchQueue::main().setWakeHook([hook, held = std::move(held)] { hook(held.get()); });
  });
}

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
      sink(static_cast<int>(level), line.data(), line.size(), held.get());
    });
  });
}

bool QVLBundle_setResourceDirectory(const char* path, size_t pathLength) {
  const auto directory = textOf(path, pathLength, __func__);
  bool isSet = false;
  const bool hadMemory = withMemory(
      [&] { isSet = PellixPlatform::Bundle::setResourceDirectory(directory).has_value(); });
  return hadMemory && isSet;
}
