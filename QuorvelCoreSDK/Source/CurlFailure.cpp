#include "CurlFailure.h"

#include <algorithm>
#include <array>

namespace QuorvelCoreSDK {
namespace {

struct Meaning {
  CURLcode result;
  CoreErrorCode code;
};

constexpr auto meanings = std::to_array<Meaning>({
    {CURLE_COULDNT_RESOLVE_HOST, CoreErrorCode::cannotResolveHost},
    {CURLE_COULDNT_RESOLVE_PROXY, CoreErrorCode::cannotResolveProxy},
    {CURLE_COULDNT_CONNECT, CoreErrorCode::cannotConnect},
    {CURLE_OPERATION_TIMEDOUT, CoreErrorCode::timedOut},
    {CURLE_PEER_FAILED_VERIFICATION, CoreErrorCode::untrustedCertificate},
    {CURLE_SSL_ISSUER_ERROR, CoreErrorCode::untrustedCertificate},
    {CURLE_SSL_CONNECT_ERROR, CoreErrorCode::secureConnectionFailed},
    {CURLE_SSL_CIPHER, CoreErrorCode::secureConnectionFailed},
    {CURLE_SSL_CACERT_BADFILE, CoreErrorCode::unreadableCertificateStore},
    {CURLE_GOT_NOTHING, CoreErrorCode::connectionLost},
    {CURLE_SEND_ERROR, CoreErrorCode::connectionLost},
    {CURLE_RECV_ERROR, CoreErrorCode::connectionLost},
    {CURLE_PARTIAL_FILE, CoreErrorCode::connectionLost},
    {CURLE_ABORTED_BY_CALLBACK, CoreErrorCode::connectionLost},  // not sent a second time
    {CURLE_HTTP2, CoreErrorCode::connectionLost},  // it ends the connection, whatever the reason
    {CURLE_HTTP2_STREAM, CoreErrorCode::connectionLost},
    {CURLE_WEIRD_SERVER_REPLY, CoreErrorCode::malformedReply},
    {CURLE_UNSUPPORTED_PROTOCOL, CoreErrorCode::malformedReply},
    {CURLE_BAD_CONTENT_ENCODING, CoreErrorCode::malformedReply},
    {CURLE_PROXY, CoreErrorCode::proxyFailed},
});

/// What a connection may fail with before anything goes out over it.
constexpr auto ofConnecting = std::to_array<CoreErrorCode>({
    CoreErrorCode::cannotResolveHost,
    CoreErrorCode::cannotResolveProxy,
    CoreErrorCode::cannotConnect,
    CoreErrorCode::untrustedCertificate,
    CoreErrorCode::secureConnectionFailed,
    CoreErrorCode::unreadableCertificateStore,
    CoreErrorCode::proxyFailed,
});

/// What libcurl may say, whichever version it is. A `%` stands for one word out of an address or a
/// number, a `~` for words of letters that the system or the TLS library has for a fault, a `*` for
/// a file's path.
constexpr auto knownForms = std::to_array<std::string_view>({
    "Could not resolve host: %",
    "Could not resolve proxy: %",
    "Failed to connect to % port % after % ms: ~",
    "Failed to connect to % port % via % after % ms: ~",
    "Failed to connect to % port %: ~",
    "Resolving timed out after % milliseconds",
    "Connection timed out after % milliseconds",
    "Connection timeout after % ms",
    "SSL connection timeout",
    "Operation timed out after % milliseconds with % bytes received",
    "Operation timed out after % milliseconds with % out of % bytes received",
    "Proxy CONNECT aborted due to timeout",
    "Proxy CONNECT aborted",
    "Received HTTP code % from proxy after CONNECT",
    "CONNECT tunnel failed, response %",
    "Can't complete SOCKS% connection to %. (%)",
    "Can't complete SOCKS% connection to %. (%), ~.",
    "User was rejected by the SOCKS% server (% %).",
    "No authentication method was acceptable.",
    "SSL certificate problem: ~",
    "SSL: the certificate's name does not match the host's",
    "SSL: no alternative certificate subject name matches target host name '%'",
    "SSL: no alternative certificate subject name matches target hostname '%'",
    "SSL: no alternative certificate subject name matches target ipv% address '%'",
    "OpenSSL/%: error:%:SSL routines::~",
    "TLS connect error: error:%:SSL routines::~",
    "OpenSSL SSL_connect: ~ in connection to %",
    "OpenSSL SSL_read: ~, errno %",
    "OpenSSL SSL_write: ~, errno %",
    "OpenSSL SSL_read: OpenSSL/%: error:%:SSL routines::~, errno %",
    "error setting certificate file: *",
    "error setting certificate verify locations: CAfile: * CApath: none",
    "error adding trust anchors from file: *",
    "Empty reply from server",
    "Recv failure: ~",
    "Send failure: ~",
    "transfer closed with % bytes remaining to read",
    "transfer closed with outstanding read data remaining",
    "end of response with % bytes missing",
    "malformed chunks",
    "Received HTTP/0.9 when not allowed",
    "Invalid Content-Length: value",
    "Unsupported HTTP version in response",
    "Unsupported HTTP/1 subversion in response",
    "HTTP/2 stream % was not closed cleanly: % (err %)",
    "HTTP/2 stream % was not closed cleanly before end of the underlying connection",
    "HTTP/2 stream % was not closed cleanly before end of the underlying stream",
});

constexpr std::string_view lettersAndDigits =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";

constexpr bool fits(char placeholder, char c) {
  switch (placeholder) {
    case '%':
      return lettersAndDigits.contains(c) || std::string_view(".:_[]-").contains(c);
    case '~':
      return lettersAndDigits.contains(c) || std::string_view(" '-").contains(c);
    default:
      return static_cast<unsigned char>(c) >= 0x20;
  }
}

constexpr bool hasForm(std::string_view text, std::string_view form) {
  if (form.empty()) return text.empty();
  const bool isPlaceholder = std::string_view("%~*").contains(form.front());
  if (!isPlaceholder) {
    return text.starts_with(form.front()) && hasForm(text.substr(1), form.substr(1));
  }
  for (std::size_t length = 0; length < text.size() && fits(form.front(), text[length]); ++length) {
    if (hasForm(text.substr(length + 1), form.substr(1))) return true;
  }
  return false;
}

static_assert(hasForm("Connection timeout after 12 ms", "Connection timeout after % ms"));
static_assert(!hasForm("host: a\x1b", "host: %") && !hasForm("host: a b", "host: %"));
static_assert(hasForm("failure: it's so-so", "failure: ~") &&
              !hasForm("failure: a.", "failure: ~"));
static_assert(hasForm("problem:  ~", "problem: *") && !hasForm("problem: \x1f", "problem: *"));

/// What it says of chunks that do not follow their grammar.
constexpr auto formsForChunks = std::to_array<std::string_view>({
    "~ in chunked-encoding",
    "invalid chunk*",
    "chunk hex-length*",
});

}  // namespace

PellixPlatform::Error curlFailure(CURLcode result, std::string_view detail, long proxyStatus,
                                  bool mayHaveBeenHeard) {
  using enum CoreErrorCode;
  const auto meaning = std::ranges::find(meanings, result, &Meaning::result);
  auto code = meaning == meanings.end() ? transportFailed : meaning->code;
  // For these two, libcurl's code is that of a connection that breaks.
  if (proxyStatus >= 300) code = proxyFailed;
  const bool isOfConnecting = std::ranges::find(ofConnecting, code) != ofConnecting.end();
  if (mayHaveBeenHeard && isOfConnecting) code = connectionLost;
  const auto hasOneOf = [&detail](const auto& forms) {
    return std::ranges::any_of(forms, [&](auto form) { return hasForm(detail, form); });
  };
  if (hasOneOf(formsForChunks)) {
    code = malformedReply;
    detail = "malformed chunks";
  }
  // What follows would be the server's own text.
  if (detail.starts_with("SSL: certificate subject name")) {
    detail = "SSL: the certificate's name does not match the host's";
  }

  if (result == CURLE_ABORTED_BY_CALLBACK) {
    detail = "the request is not sent a second time";
  } else if (!hasOneOf(knownForms)) {
    detail = curl_easy_strerror(result);
  }
  return makeCoreError(code, detail);
}

}  // namespace QuorvelCoreSDK
