#pragma once

#include <QuorvelCoreSDK/SettingsProvider.h>
#include <QuorvelCoreSDK/Transport.h>

#include <chrono>
#include <expected>
#include <filesystem>

namespace QuorvelCoreSDK {

/// Gives the bearer token for one request, or nothing if there is none. Called on any thread, also
/// on several at once; it should answer quickly and must not throw.
using TokenSupplier = std::function<std::optional<std::string>()>;

/// How the default transport reaches the network.
struct NetworkConfiguration {
  /// The proxy's address, `[SCHEME://][USER:PASSWORD@]HOST[:PORT]` with one of the schemes http
  /// (the default), https, socks4, socks4a, socks5 and socks5h; empty: what the environment says
  /// (`https_proxy`, `all_proxy`, `no_proxy`, in lower or upper case), which is read when the core
  /// is set up. Requests to loopback never go through a proxy.
  std::string proxy;
  /// Whether to pay no attention to what the environment says of proxies.
  bool ignoreProxyEnvironment = false;
  /// A file of trusted certificates in PEM, for servers and for proxies over TLS; empty: the
  /// system's.
  std::filesystem::path certificateAuthorities;
  /// Whether the secrets of TLS connections are written to the file that the environment variable
  /// `SSLKEYLOGFILE` names, so that a recording of the traffic can be read. All transports of a
  /// process should have it, or none, since they share connections. Never in production.
  bool logsTlsSecrets = false;
  /// How long a connection may take to be made.
  std::chrono::milliseconds connectTimeout{10'000};
  /// How long a request may take in all.
  std::chrono::milliseconds requestTimeout{30'000};
  /// How long the request for a settings document may take in all; never longer than
  /// `requestTimeout`, which stands beside it here.
  std::chrono::milliseconds settingsTimeout{10'000};
  /// How many bytes a reply's body may have (a settings document 256 KiB at most). Decoding a
  /// hostile one may take fifty times as many.
  std::size_t maxResponseBytes = std::size_t{16} << 20;
};

/// The default transport, for a host's own that adds headers, traces or tries again, and hands on
/// to it. It reaches the network as `network` says, but for `settingsTimeout`, which the core takes
/// from its own `Configuration::network`; an error if the proxy's address can't be used, as from
/// `Quorvel::initialize`.
[[nodiscard]] PELLIX_EXPORT std::expected<std::shared_ptr<Transport>, PellixPlatform::Error>
makeTransport(NetworkConfiguration network = {});

/// What a host may choose when it sets up the core. Times below zero count as zero, and more than a
/// year as a year.
struct Configuration {
  /// Supplies the token of the requests that need one.
  TokenSupplier token;
  /// How long settings documents, the account's and those of other libraries, are kept before they
  /// are fetched anew; less up to a tenth of it at random, so that devices that were started
  /// together do not ask together. If that fails, they serve on until the next attempt: after 1 to
  /// 2 seconds, and double that with each failure in a row, up to a minute.
  std::chrono::milliseconds settingsTimeToLive{300'000};
  /// How the default transport reaches the network, and what bounds settings documents, which is
  /// handed to any transport with their requests: the smaller one of `settingsTimeout` and
  /// `requestTimeout`, and of 256 KiB and `maxResponseBytes`.
  NetworkConfiguration network;
  /// Replaces the default transport; shared with the core instance. Null: the default.
  std::shared_ptr<Transport> transport;
  /// Replaces the default settings service; shared with the core instance. Null: the default.
  std::shared_ptr<SettingsProvider> settings;
};

}  // namespace QuorvelCoreSDK
