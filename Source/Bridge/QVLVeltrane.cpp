#include "Bridge/Memory.h"
#include "Bridge/Text.h"

#include <optional>

using namespace PellixProvidersSDK::Bridge;

QVLVeltrane* QVLVeltrane_initialize(QVLQuorvel* quorvel) {
  auto& core = objectOf(quorvel, __func__);
  QVLVeltrane* veltrane = nullptr;
  withMemory([&] {
    veltrane = retained<QVLVeltrane>(VeltraneProvidersSDK::Veltrane::initialize(shared(core)));
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
