#pragma once

#include <PellixPlatform/Data.h>
#include <PellixPlatform/DispatchQueue.h>
#include <PellixPlatform/Error.h>
#include <PellixPlatform/URL.h>
#include <PellixPlatform/URLResponse.h>
#include <QuorvelCoreSDK/AccountDetails.h>
#include <QuorvelCoreSDK/ClientHeaders.h>
#include <QuorvelCoreSDK/HttpMethod.h>
#include <QuorvelCoreSDK/Reporter.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

namespace QuorvelCoreSDK {

/// One request to an account's services: a value that can be kept, copied and performed.
///
/// There are no redirects, and a request goes out once more only where that does no harm: on
/// another connection, if the kept one was closed before it went out, or if the server says, by
/// where it ends the connection, that it took nothing of it (RFC 9113, section 6.8); and, unless it
/// is a POST, if the kept connection broke, or its stream was refused, before any byte of a reply.
class PELLIX_EXPORT ProviderService {
 public:
  /// Body bytes or nothing, response or null, error or nothing. Zero bytes come as nothing.
  using Callback = std::function<void(std::optional<PellixPlatform::Data>,
                                      std::shared_ptr<const PellixPlatform::URLResponse>,
                                      std::optional<PellixPlatform::Error>)>;

  struct Parameters {
    /// As handed out by a core instance.
    AccountDetails environment;
    /// The full address: https, or http to loopback.
    PellixPlatform::URL urlComponent;
    /// Whether the core's bearer token is sent. Nothing is sent at all if there is none then, or if
    /// the address is not of the account's origin (scheme, host and port): the errors are
    /// `missingToken` and `foreignOrigin`.
    bool requiresAuth = false;
    HttpMethod httpMethod = HttpMethod::get;
    /// Never null.
    std::shared_ptr<const ClientHeaders> clientHeaders;
    /// JSON; nothing: no body.
    std::optional<PellixPlatform::Data> body;
    /// Where the callback runs, borrowed until then; null: on the transport's thread, or on the
    /// main queue without a core instance.
    PellixPlatform::DispatchQueue* dispatchQueue = nullptr;
    Reporter reporter = Reporter::none;
    /// Never used: nothing is cached. It may be null.
    CachingDelegate* cachingDelegate = nullptr;
    /// Limits of this request's own; nothing: those of the core's configuration.
    std::optional<std::chrono::milliseconds> requestTimeout;
    std::optional<std::size_t> maxResponseBytes;
    /// See `TransportRequest`.
    bool waitsForConnection = false;
  };

  explicit ProviderService(Parameters parameters);

  /// Sends the request. `callback` runs once, never within this call, and is let go of right after;
  /// it may be empty.
  /// Thread safety: any thread.
  /// Memory: `std::bad_alloc` leaves this call, also when the worker thread can't be started. Where
  /// memory runs out later, the request ends silently, and `callback` is let go of.
  void perform(Callback callback) const&;

  /// The same, and nothing is copied: the request is used up.
  void perform(Callback callback) &&;

 private:
  Parameters parameters_;
};

}  // namespace QuorvelCoreSDK
