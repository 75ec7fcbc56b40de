#pragma once

#include <PellixPlatform/Error.h>
#include <PellixPlatform/Export.h>

#include <string_view>

namespace QuorvelCoreSDK {

/// The domain of the core's own errors. What a server answered is none of them, but for the status
/// of settings that could not be fetched: `transportFailed`, with the status in its text.
PELLIX_EXPORT extern const char CoreErrorDomain[];

/// The codes of that domain.
enum class CoreErrorCode : std::int64_t {
  invalidAccountUrl = 1,            ///< The account's address is no absolute URL, or says too much.
  insecureUrl = 2,                  ///< An address is not https, and not loopback either.
  missingToken = 3,                 ///< A bearer token is needed and there is none.
  invalidHeader = 4,                ///< A token or header can't stand in a request.
  notInitialized = 5,               ///< The account details do not come from a core instance.
  cannotResolveHost = 6,            ///< The host's name is unknown.
  cannotResolveProxy = 7,           ///< The proxy's name is unknown.
  cannotConnect = 8,                ///< The host, or the proxy, does not accept a connection.
  timedOut = 9,                     ///< A time limit has passed.
  untrustedCertificate = 10,        ///< The server's certificate is not one to be trusted.
  secureConnectionFailed = 11,      ///< No secure connection could be set up.
  unreadableCertificateStore = 12,  ///< The trusted certificates can't be read.
  connectionLost = 13,              ///< The connection broke before the reply was complete.
  malformedReply = 14,              ///< The reply is not proper HTTP.
  replyTooLarge = 15,               ///< The reply is larger than what is accepted.
  proxyFailed = 16,                 ///< The proxy refused to pass the request on.
  transportFailed = 17,             ///< The request failed in some other way.
  foreignOrigin = 18,               ///< The token would go to another server than the account's.
  invalidProxy = 19,                ///< The proxy's address can't be used.
};

/// The sentence for a code, or nothing if there is no such code. A NUL follows it.
[[nodiscard]] PELLIX_EXPORT std::string_view sentenceOf(CoreErrorCode code);

/// An error of this domain: the code's sentence, and `detail` in brackets if there is any.
[[nodiscard, gnu::cold]] PELLIX_EXPORT PellixPlatform::Error makeCoreError(
    CoreErrorCode code, std::string_view detail = {});

}  // namespace QuorvelCoreSDK
