#include "ConfigurationObject.h"

#include <PellixPlatform/internal/Bridge/Memory.h>
#include <PellixPlatform/internal/Bridge/Text.h>

#include <optional>
#include <utility>

/// Where a supplier's token goes; on the stack of whoever asks for one.
struct QVLTokenReceiver {
  std::optional<std::string> token;
};

using namespace PellixPlatform::Bridge;
using QuorvelCoreSDK::ConfigurationObject;

QVLQuorvelConfiguration* QVLQuorvelConfiguration_init() {
  QVLQuorvelConfiguration* configuration = nullptr;
  withMemory([&] {
    configuration = retained<QVLQuorvelConfiguration>(std::make_shared<ConfigurationObject>());
  });
  return configuration;
}

bool QVLQuorvelConfiguration_setToken(QVLQuorvelConfiguration* configuration, const char* token,
                                      size_t tokenLength) {
  auto& values = objectOf(configuration, __func__).values;
  const auto text = textOf(token, tokenLength, __func__);
  return withMemory([&] { values.token = [held = std::string(text)] { return held; }; });
}

bool QVLTokenReceiver_setToken(QVLTokenReceiver* receiver, const char* token, size_t tokenLength) {
  if (!receiver) misuse(__func__, "null where an object is needed");
  const auto text = textOf(token, tokenLength, __func__);
  return withMemory([&] { receiver->token.emplace(text); });
}

bool QVLQuorvelConfiguration_setTokenSupplier(QVLQuorvelConfiguration* configuration,
                                              QVLTokenSupplier supplier, void* context,
                                              QVLContextRelease release) {
  auto& values = objectOf(configuration, __func__).values;
  return withMemory([&] {
    auto held = makeContext(context, release);
    if (!supplier) {
      values.token = nullptr;
      return;
    }
    values.token = [supplier, held = std::move(held)] {
      QVLTokenReceiver receiver;
      supplier(&receiver, held.get());
      return std::move(receiver.token);
    };
  });
}

bool QVLQuorvelConfiguration_setCertificateAuthorities(QVLQuorvelConfiguration* configuration,
                                                       const char* path, size_t pathLength) {
  auto& values = objectOf(configuration, __func__).values;
  const auto file = textOf(path, pathLength, __func__);
  if (!isPath(file)) return false;
  return withMemory([&] { values.network.certificateAuthorities = file; });
}
