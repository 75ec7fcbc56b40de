#include <QuorvelCoreSDK/CoreError.h>

#include <algorithm>
#include <array>
#include <utility>

namespace QuorvelCoreSDK {

const char CoreErrorDomain[] = "com.quorvel.core";

namespace {

struct Sentence {
  CoreErrorCode code;
  std::string_view text;
};

constexpr auto sentences = std::to_array<Sentence>({
    {CoreErrorCode::invalidAccountUrl, "The account's address can't be served."},
    {CoreErrorCode::insecureUrl, "The address must use https; http is for loopback alone."},
    {CoreErrorCode::missingToken, "The request needs a bearer token, and there is none."},
    {CoreErrorCode::invalidHeader, "The token or a header holds characters that can't be sent."},
    {CoreErrorCode::notInitialized, "The account details do not come from a core instance."},
    {CoreErrorCode::cannotResolveHost, "The server's name could not be resolved."},
    {CoreErrorCode::cannotResolveProxy, "The proxy's name could not be resolved."},
    {CoreErrorCode::cannotConnect, "The server could not be reached."},
    {CoreErrorCode::timedOut, "The server did not answer in time."},
    {CoreErrorCode::untrustedCertificate, "The server's certificate is not trusted."},
    {CoreErrorCode::secureConnectionFailed, "A secure connection could not be set up."},
    {CoreErrorCode::unreadableCertificateStore, "The trusted certificates could not be read."},
    {CoreErrorCode::connectionLost, "The connection was lost before the reply was complete."},
    {CoreErrorCode::malformedReply, "The server's reply is not proper HTTP."},
    {CoreErrorCode::replyTooLarge, "The server's reply is too large."},
    {CoreErrorCode::proxyFailed, "The proxy did not pass the request on."},
    {CoreErrorCode::transportFailed, "The request failed."},
    {CoreErrorCode::foreignOrigin,
     "The address is not on the account's server, which alone gets the token."},
    {CoreErrorCode::invalidProxy, "The proxy's address can't be used."},
});

}  // namespace

std::string_view sentenceOf(CoreErrorCode code) {
  const auto sentence = std::ranges::find(sentences, code, &Sentence::code);
  return sentence == sentences.end() ? std::string_view() : sentence->text;
}

PellixPlatform::Error makeCoreError(CoreErrorCode code, std::string_view detail) {
  std::string text(sentenceOf(code));
  if (!detail.empty()) text.append(" (").append(detail).append(")");
  return PellixPlatform::Error::described(CoreErrorDomain, std::to_underlying(code),
                                          std::move(text));
}

}  // namespace QuorvelCoreSDK
