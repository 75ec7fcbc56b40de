#pragma once

#include "Support/FakeTransport.h"

#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>

#include <memory>
#include <string>
#include <utility>

namespace Benchmarks {

using Reply = PellixProvidersSDK::Result<PellixProvidersSDK::DeflectionResponse>;
using ReplyCallback = PellixProvidersSDK::ResultCallback<PellixProvidersSDK::DeflectionResponse>;

inline constexpr char question[] = "I forgot my password. How do I get back in?";

/// Sets the libraries up for an account, each time for another application: for the same one, the
/// facade would stay as it is.
inline std::shared_ptr<PellixProvidersSDK::PellixProvider> makeProvider(
    const std::string& accountUrl, QuorvelCoreSDK::Configuration configuration) {
  static int applications = 0;
  configuration.token = [] { return "0123456789abcdef0123456789abcdef"; };
  const auto quorvel =
      QuorvelCoreSDK::Quorvel::initialize(
          {accountUrl, "benchmark " + std::to_string(++applications), "benchmarks"},
          std::move(configuration))
          .value();
  PellixProvidersSDK::Pellix::initialize(quorvel,
                                         VeltraneProvidersSDK::Veltrane::initialize(quorvel));
  return PellixProvidersSDK::Pellix::instance()->provider();
}

/// An application whose network is a fake.
class OfflineHost {
 public:
  explicit OfflineHost(std::string reply)
      : transport(std::make_shared<FakeTransport>(std::move(reply))),
        provider(makeProvider("https://acme.example", {.settingsTimeToLive = std::chrono::hours(1),
                                                       .transport = transport})) {}

  /// Asks, and lets everything happen that follows.
  void ask(ReplyCallback callback) const {
    provider->getDeflectionForQuery(question, std::move(callback));
    transport->run();
    Platform::DispatchQueue::main().runPending();
  }

  const std::shared_ptr<FakeTransport> transport;
  const std::shared_ptr<PellixProvidersSDK::PellixProvider> provider;
};

}  // namespace Benchmarks
