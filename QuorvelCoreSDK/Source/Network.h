#pragma once

#include <PellixPlatform/Error.h>
#include <QuorvelCoreSDK/Configuration.h>

#include <expected>

namespace QuorvelCoreSDK {

/// How to reach the network, with what the environment says of proxies in it, so that nobody reads
/// the environment later, on a thread that the host does not know of.
struct Network : NetworkConfiguration {
  std::string proxyExceptions;  // hosts that are reached without it, in libcurl's form
};

/// Errors: `invalidProxy`.
[[nodiscard]] std::expected<Network, PellixPlatform::Error> makeNetwork(
    NetworkConfiguration configuration);

}  // namespace QuorvelCoreSDK
