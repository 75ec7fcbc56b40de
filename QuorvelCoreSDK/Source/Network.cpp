#include "Network.h"

#include <PellixPlatform/URL.h>
#include <QuorvelCoreSDK/CoreError.h>

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <utility>

namespace QuorvelCoreSDK {
namespace {

/// The first of these variables that is set, or nothing.
std::string environment(std::initializer_list<const char*> names) {
  for (const char* name : names) {
    const char* const value =
        std::getenv(name);  // NOLINT(concurrency-mt-unsafe): on the host's thread
    if (value && *value) return value;
  }
  return {};
}

/// Whether percent-encoded text stands for control characters. libcurl passes over such a user or
/// password, and over the proxy with it.
bool hidesControls(std::string_view text) {
  constexpr std::string_view beginnings[] = {"%0", "%1", "%7F", "%7f"};
  return std::ranges::any_of(beginnings, [&](auto each) { return text.contains(each); });
}

bool isUsable(std::string proxy) {
  constexpr std::string_view schemes[] = {"http",    "https",  "socks4",
                                          "socks4a", "socks5", "socks5h"};
  if (!proxy.contains("://")) proxy.insert(0, "http://");
  const auto url = PellixPlatform::URL::parse(std::move(proxy));
  if (!url || url->host().empty() || url->hasQuery() || url->hasFragment()) return false;
  const std::string_view rest = std::string_view(url->string()).substr(url->scheme().size() + 3);
  const auto path = rest.find('/');
  return std::ranges::find(schemes, url->scheme()) != std::end(schemes) &&
         (path == rest.npos || path + 1 == rest.size()) && !hidesControls(rest);
}

}  // namespace

std::expected<Network, PellixPlatform::Error> makeNetwork(NetworkConfiguration configuration) {
  Network network{std::move(configuration), {}};
  const bool isFromEnvironment = network.proxy.empty() && !network.ignoreProxyEnvironment;
  if (isFromEnvironment) {
    // Those for http are of no account: without TLS there is loopback alone, and that is direct.
    network.proxy = environment({"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"});
    network.proxyExceptions = environment({"no_proxy", "NO_PROXY"});
  }
  if (!network.proxy.empty() && !isUsable(network.proxy)) {
    return std::unexpected(makeCoreError(CoreErrorCode::invalidProxy,
                                         isFromEnvironment ? "the environment names it" : ""));
  }
  return network;
}

}  // namespace QuorvelCoreSDK
