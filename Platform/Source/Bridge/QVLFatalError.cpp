#include <PellixPlatform/FatalErrorHandler.h>
#include <PellixPlatform/internal/Bridge/Callbacks.h>

#include <utility>

using namespace PellixPlatform::Bridge;

bool QVLFatalError_setHandler(QVLFatalErrorHandler handler, void* context,
                              QVLContextRelease release) {
  return withMemory([&] {
    auto held = makeContext(context, release);
    if (!handler) return PellixPlatform::setFatalErrorHandler(nullptr);
    PellixPlatform::setFatalErrorHandler(
        [handler, held = std::move(held)](std::string_view report) {
          handler(report.data(), report.size(), held.get());
        });
  });
}

int64_t QVLABIVersion() {
  return PELLIX_ABI_VERSION;
}
