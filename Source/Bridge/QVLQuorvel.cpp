#include "Bridge/ErrorObject.h"
#include "Bridge/Memory.h"
#include "Bridge/Text.h"

#include <algorithm>
#include <optional>

namespace PellixProvidersSDK::Bridge {

class ConfigurationObject final : public PellixPlatform::Object {
 public:
  QuorvelCoreSDK::Configuration values;
};

}  // namespace PellixProvidersSDK::Bridge

/// Where a supplier's token goes; on the stack of whoever asks for one.
struct QVLTokenReceiver {
  std::optional<std::string> token;
};

using namespace PellixProvidersSDK::Bridge;
using QuorvelCoreSDK::Quorvel;

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
  return withMemory([&] { values.network.certificateAuthorities = file; });
}

QVLQuorvel* QVLQuorvel_initialize(const char* accountUrl, size_t accountUrlLength,
                                  const char* applicationId, size_t applicationIdLength,
                                  const char* clientId, size_t clientIdLength,
                                  const QVLQuorvelConfiguration* configuration,
                                  const QVLError** error) {
  const auto url = textOf(accountUrl, accountUrlLength, __func__);
  const auto application = textOf(applicationId, applicationIdLength, __func__);
  const auto client = textOf(clientId, clientIdLength, __func__);
  const auto* chosen = configuration ? &objectOf(configuration, __func__).values : nullptr;
  if (error) *error = nullptr;
  QVLQuorvel* quorvel = nullptr;
  withMemory([&] {
    auto made =
        Quorvel::initialize({std::string(url), std::string(application), std::string(client)},
                            chosen ? *chosen : QuorvelCoreSDK::Configuration());
    if (made) {
      quorvel = retained<QVLQuorvel>(*made);
    } else if (error) {
      *error =
          retained<const QVLError>(std::make_shared<const ErrorObject>(std::move(made).error()));
    }
  });
  return quorvel;
}

bool QVLQuorvel_waitUntilIdle(const QVLQuorvel* quorvel, int64_t milliseconds) {
  // Clocks can't count to the end of the host's integers.
  constexpr auto longest = std::chrono::milliseconds(std::chrono::days(365));
  return objectOf(quorvel, __func__)
      .waitUntilIdle(std::clamp(std::chrono::milliseconds(milliseconds),
                                std::chrono::milliseconds::zero(), longest));
}
