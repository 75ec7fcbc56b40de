#include <PellixPlatform/internal/Bridge/Text.h>
#include <QuorvelCoreSDK/CoreError.h>
#include <QuorvelCoreSDK/QVLQuorvelCore.h>

using enum QuorvelCoreSDK::CoreErrorCode;

const char QVLCoreErrorDomain[] = "com.quorvel.core";

static_assert(QVLCoreErrorInvalidAccountUrl == std::to_underlying(invalidAccountUrl));
static_assert(QVLCoreErrorInsecureUrl == std::to_underlying(insecureUrl));
static_assert(QVLCoreErrorMissingToken == std::to_underlying(missingToken));
static_assert(QVLCoreErrorInvalidHeader == std::to_underlying(invalidHeader));
static_assert(QVLCoreErrorNotInitialized == std::to_underlying(notInitialized));
static_assert(QVLCoreErrorCannotResolveHost == std::to_underlying(cannotResolveHost));
static_assert(QVLCoreErrorCannotResolveProxy == std::to_underlying(cannotResolveProxy));
static_assert(QVLCoreErrorCannotConnect == std::to_underlying(cannotConnect));
static_assert(QVLCoreErrorTimedOut == std::to_underlying(timedOut));
static_assert(QVLCoreErrorUntrustedCertificate == std::to_underlying(untrustedCertificate));
static_assert(QVLCoreErrorSecureConnectionFailed == std::to_underlying(secureConnectionFailed));
static_assert(QVLCoreErrorUnreadableCertificateStore ==
              std::to_underlying(unreadableCertificateStore));
static_assert(QVLCoreErrorConnectionLost == std::to_underlying(connectionLost));
static_assert(QVLCoreErrorMalformedReply == std::to_underlying(malformedReply));
static_assert(QVLCoreErrorReplyTooLarge == std::to_underlying(replyTooLarge));
static_assert(QVLCoreErrorProxyFailed == std::to_underlying(proxyFailed));
static_assert(QVLCoreErrorTransportFailed == std::to_underlying(transportFailed));

const char* QVLCoreError_textForCode(int64_t code, size_t* length) {
  return PellixPlatform::Bridge::lendSentence(
      sentenceOf(static_cast<QuorvelCoreSDK::CoreErrorCode>(code)), length);
}
