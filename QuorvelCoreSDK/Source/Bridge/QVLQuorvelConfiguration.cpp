#include "ConfigurationObject.h"

#include <PellixPlatform/internal/Bridge/Callbacks.h>
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

bool QVLQuorvelConfiguration_setProxy(QVLQuorvelConfiguration* configuration, const char* address,
                                      size_t addressLength) {
  auto& values = objectOf(configuration, __func__).values;
  const auto proxy = textOf(address, addressLength, __func__);
  return withMemory([&] { values.network.proxy = proxy; });
}

void QVLQuorvelConfiguration_setIgnoreProxyEnvironment(QVLQuorvelConfiguration* configuration,
                                                       bool ignore) {
  objectOf(configuration, __func__).values.network.ignoreProxyEnvironment = ignore;
}

void QVLQuorvelConfiguration_setConnectTimeout(QVLQuorvelConfiguration* configuration,
                                               int64_t milliseconds) {
  objectOf(configuration, __func__).values.network.connectTimeout =
      std::chrono::milliseconds(milliseconds);
}

void QVLQuorvelConfiguration_setRequestTimeout(QVLQuorvelConfiguration* configuration,
                                               int64_t milliseconds) {
  objectOf(configuration, __func__).values.network.requestTimeout =
      std::chrono::milliseconds(milliseconds);
}

void QVLQuorvelConfiguration_setSettingsTimeout(QVLQuorvelConfiguration* configuration,
                                                int64_t milliseconds) {
  objectOf(configuration, __func__).values.network.settingsTimeout =
      std::chrono::milliseconds(milliseconds);
}

void QVLQuorvelConfiguration_setLogsTlsSecrets(QVLQuorvelConfiguration* configuration, bool logs) {
  objectOf(configuration, __func__).values.network.logsTlsSecrets = logs;
}

void QVLQuorvelConfiguration_setMaxResponseBytes(QVLQuorvelConfiguration* configuration,
                                                 size_t bytes) {
  objectOf(configuration, __func__).values.network.maxResponseBytes = bytes;
}

void QVLQuorvelConfiguration_setSettingsTimeToLive(QVLQuorvelConfiguration* configuration,
                                                   int64_t milliseconds) {
  objectOf(configuration, __func__).values.settingsTimeToLive =
      std::chrono::milliseconds(milliseconds);
}
