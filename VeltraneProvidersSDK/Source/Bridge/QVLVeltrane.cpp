#include <PellixPlatform/internal/Bridge/Memory.h>
#include <PellixPlatform/internal/Bridge/Text.h>
#include <QuorvelCoreSDK/internal/QuorvelHandle.h>
#include <VeltraneProvidersSDK/internal/VeltraneHandle.h>

#include <optional>

using namespace PellixPlatform::Bridge;

QVLVeltrane* QVLVeltrane_initialize(QVLQuorvel* quorvel) {
  auto& core = objectOf(quorvel, __func__);
  QVLVeltrane* veltrane = nullptr;
  withMemory([&] {
    veltrane = retained<QVLVeltrane>(VeltraneProvidersSDK::Veltrane::initialize(shared(core)));
  });
  return veltrane;
}

QVLVeltrane* QVLVeltrane_instance() {
  QVLVeltrane* veltrane = nullptr;
  withMemory([&] {
    if (const auto instance = VeltraneProvidersSDK::Veltrane::instance()) {
      veltrane = retained<QVLVeltrane>(instance);
    }
  });
  return veltrane;
}

bool QVLVeltrane_setLumenoLocaleOverride(QVLVeltrane* veltrane, const char* locale,
                                         size_t localeLength) {
  auto& self = objectOf(veltrane, __func__);
  return withMemory([&] {
    std::optional<std::string> chosen;
    if (locale) chosen.emplace(textOf(locale, localeLength, "QVLVeltrane_setLumenoLocaleOverride"));
    self.setLumenoLocaleOverride(std::move(chosen));
  });
}
