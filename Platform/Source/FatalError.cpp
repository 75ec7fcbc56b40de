#include <PellixPlatform/FatalErrorHandler.h>
#include <PellixPlatform/internal/FatalError.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

namespace PellixPlatform {
namespace {

using Handler = std::function<void(std::string_view)>;

// Whoever takes it out owns it, so that none is lost while it is being called.
constinit std::atomic<const Handler*> hostHandler = nullptr;

// For good, since the process ends in it, and for those who look for leaks then.
constinit std::atomic<const Handler*> calledHandler = nullptr;

}  // namespace

void fatalError(std::string_view report) {
  std::fwrite(report.data(), 1, report.size(), stderr);
  std::fputc('\n', stderr);
  if (const auto* const handler = hostHandler.exchange(nullptr)) {
    calledHandler = handler;
    (*handler)(report);
  }
  std::abort();
}

void fatalUnimplementedInitializer(std::string_view className, std::string_view initializer) {
  fatalError("Fatal error: Use of unimplemented initializer '" + std::string(initializer) +
             "' for class '" + std::string(className) + "'");
}

void setFatalErrorHandler(std::function<void(std::string_view report)> handler) {
  auto added = handler ? std::make_unique<const Handler>(std::move(handler)) : nullptr;
  const std::unique_ptr<const Handler> earlier(hostHandler.exchange(added.release()));
}

}  // namespace PellixPlatform
