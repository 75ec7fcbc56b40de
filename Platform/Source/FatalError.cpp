#include <PellixPlatform/internal/FatalError.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace PellixPlatform {
namespace {

using Handler = std::shared_ptr<const std::function<void(std::string_view)>>;

struct HostHandler {
  std::mutex mutex;
  Handler handler;
};

HostHandler& hostHandler() {
  static auto& handler = *new HostHandler;  // leaked: programs go wrong at their end too
  return handler;
}

/// The handler, the first time that it is asked for: what goes wrong within it can't go on there.
Handler takeHandler() {
  static constinit std::atomic<bool> isTaken = false;
  if (isTaken.exchange(true)) return nullptr;
  auto& host = hostHandler();
  const std::lock_guard lock(host.mutex);
  return host.handler;
}

}  // namespace

void fatalError(std::string_view report) {
  std::fwrite(report.data(), 1, report.size(), stderr);
  std::fputc('\n', stderr);
  if (const auto handler = takeHandler()) (*handler)(report);
  std::abort();
}

void fatalUnimplementedInitializer(std::string_view className, std::string_view initializer) {
  fatalError("Fatal error: Use of unimplemented initializer '" + std::string(initializer) +
             "' for class '" + std::string(className) + "'");
}

void setFatalErrorHandler(std::function<void(std::string_view report)> handler) {
  Handler shared =
      handler ? std::make_shared<const std::function<void(std::string_view)>>(std::move(handler))
              : nullptr;
  auto& host = hostHandler();
  const std::lock_guard lock(host.mutex);
  std::swap(host.handler, shared);  // the earlier one goes after the lock does
}

}  // namespace PellixPlatform
