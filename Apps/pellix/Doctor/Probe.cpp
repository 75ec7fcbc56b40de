#include "Doctor/Probe.h"

#include <PellixPlatform/URLResponse.h>

#include <fmt/chrono.h>
#include <openssl/x509_vfy.h>

#include <algorithm>
#include <array>
#include <optional>
#include <system_error>

namespace PellixApp {
namespace {

Finding refusedCertificate(const Attempt& made) {
  const auto& chain = made.chain;
  const auto own = chain.empty() ? Certificate() : chain.front();
  const auto now = std::time(nullptr);
  switch (chain.empty() ? -1 : made.verification) {
    case X509_V_OK:
    case X509_V_ERR_UNSPECIFIED:  // what was refused is the name, which libcurl looks at itself
      return problem("The server's certificate is for another host: " +
                         (own.names.empty() ? own.subject : own.names),
                     "Use a name that it is for in the account's address, or have it issued anew.");
    case X509_V_ERR_CERT_HAS_EXPIRED: {
      const auto old = std::ranges::find_if(chain, [now](const auto& c) { return c.until < now; });
      if (old == chain.begin()) {
        return problem("The server's certificate has expired: " + timeText(own.until),
                       "Have the server's certificate renewed. If it has been, set this machine's "
                       "clock.");
      }
      const auto which =
          old == chain.end() ? "" : fmt::format(": {}, {}", old->subject, timeText(old->until));
      return problem("A certificate above the server's has expired" + which,
                     "Have the server send the certificates that its authority gives out now. If "
                     "it does, set this machine's clock.");
    }
    case X509_V_ERR_CERT_NOT_YET_VALID:
      return problem("The server's certificate is not valid before " + timeText(own.from),
                     "Set this machine's clock. If it is right, have the certificate issued anew.");
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
      return problem(
          "The server's certificate is self-signed: " + own.subject,
          "If the server is yours, name its certificate with --certificate-authorities.");
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
      return problem(
          "The server's certificate comes from no trusted authority: " + chain.back().issuer,
          "If the authority is yours, name its certificate with --certificate-authorities; else "
          "have the server send its whole chain, or update the system's certificates.");
    default:
      return problem("The server's certificate is not accepted: " + made.reason,
                     "Have the server's certificates issued anew.");
  }
}

struct Row {
  long code;
  std::string_view text;
};

constexpr auto proxyRefusals = std::to_array<Row>({
    {CURLPX_NO_AUTH, "it asks for a user and a password"},
    {CURLPX_USER_REJECTED, "it does not accept the user or the password"},
    {CURLPX_REPLY_NOT_ALLOWED, "its rules do not allow it"},
    {CURLPX_REPLY_NETWORK_UNREACHABLE, "it can't reach the host's network"},
    {CURLPX_REPLY_HOST_UNREACHABLE, "it can't reach the host"},
    {CURLPX_REPLY_CONNECTION_REFUSED, "the host refuses its connection"},
    {CURLPX_RESOLVE_HOST, "the host's name is unknown"},
});

constexpr std::string_view checkProxy =
    "Check the proxy that the environment names (https_proxy, no_proxy), and what it allows.";

/// Why a proxy makes no connection; nothing if there is none, or it did not say.
std::optional<std::string> refusalOfProxy(const Attempt& made) {
  if (made.proxyStatus >= 300) {
    return fmt::format("status {} {}", made.proxyStatus,
                       PellixPlatform::HTTPURLResponse::localizedStringForStatusCode(
                           static_cast<int>(made.proxyStatus)));
  }
  if (made.result != CURLE_PROXY) return std::nullopt;
  const auto* const row = std::ranges::find(proxyRefusals, made.proxyError, &Row::code);
  return row == proxyRefusals.end() ? made.reason : std::string(row->text);
}

Finding unresolved(const Attempt& made) {
  switch (made.result) {
    case CURLE_COULDNT_RESOLVE_HOST:
      return problem("The host's name is unknown.",
                     "Check the address in --account-url or PELLIX_ACCOUNT_URL, and the network's "
                     "name servers.");
    case CURLE_COULDNT_RESOLVE_PROXY:
      return problem("The proxy's name is unknown.", checkProxy);
    case CURLE_OPERATION_TIMEDOUT:
      return problem("The name servers do not answer.",
                     "Check the network, and the name servers that /etc/resolv.conf names.");
    default:  // libcurl's own words may hold the proxy's password
      return problem("The proxy can't be used.", checkProxy);
  }
}

Finding unconnected(const Attempt& made) {
  const bool isSystems = made.systemError != 0 && made.result != CURLE_OPERATION_TIMEDOUT;
  const auto why =
      isSystems ? std::generic_category().message(static_cast<int>(made.systemError)) : made.reason;
  const auto found = "No connection: " + why;
  if (made.result == CURLE_OPERATION_TIMEDOUT) {
    return problem(found,
                   "Try again later, or allow more time with --timeout. A proxy or a firewall "
                   "may keep the answer back.");
  }
  return problem(found,
                 "Check the host and the port in the account's address, the proxy that the "
                 "environment names if any, and that the service runs.");
}

Finding insecure(const Attempt& made) {
  const auto says = [&made](const char* words) {
    return made.reason.find(words) != made.reason.npos;
  };
  if (made.result == CURLE_SSL_CACERT_BADFILE) {
    return problem("The trusted certificates can't be read.",
                   "Name a readable file of certificates (PEM) with --certificate-authorities.");
  }
  const auto found = "No secure connection: " + made.reason;
  if (says("protocol version") || says("unsupported protocol")) {
    return problem(found, "Have TLS 1.2 or later switched on at the server.");
  }
  return problem(found, "Check that the port in the account's address is one for https.");
}

}  // namespace

std::string timeText(std::time_t time) {
  return time == 0 ? "an unknown time" : fmt::format("{:%Y-%m-%d %H:%M} UTC", fmt::gmtime(time));
}

std::string certificateStore(const Options& options) {
  if (!options.certificateAuthorities.empty()) return options.certificateAuthorities;
  const auto* const version = curl_version_info(CURLVERSION_NOW);
  if (version->cainfo) return version->cainfo;
  return version->capath ? version->capath : "the TLS library's own";
}

Probe probe(const std::string& address, const Options& options, Family family) {
  auto made = attempt(address, options, Trust::authorityAndHost, family);
  if (made.result == CURLE_PEER_FAILED_VERIFICATION) {
    // A handshake that failed shows none; this one goes on to look, and carries nothing.
    made.chain = attempt(address, options, Trust::none, family).chain;
  }
  if (made.result == CURLE_OK) return {.made = made};
  const auto failed = [&made](Step step, Finding finding) {
    return Probe{.failed = step, .finding = std::move(finding), .made = made};
  };
  if (const auto why = refusalOfProxy(made)) {
    return failed(Step::connection, problem("The proxy makes no connection: " + *why, checkProxy));
  }
  if (made.result == CURLE_PEER_FAILED_VERIFICATION) {
    return failed(Step::security, refusedCertificate(made));
  }
  if (!made.isResolved) return failed(Step::resolution, unresolved(made));
  // Whether libcurl reads the certificates before it connects, and knows the other side once it has
  // failed, depends on its version.
  const bool isOfTLS =
      made.result == CURLE_SSL_CACERT_BADFILE || made.result == CURLE_SSL_CONNECT_ERROR;
  const bool isLate = made.result == CURLE_OPERATION_TIMEDOUT;
  if (isLate || (made.peer.empty() && !isOfTLS)) {
    return failed(Step::connection, unconnected(made));
  }
  return failed(Step::security, insecure(made));
}

bool speaksTLS(const std::string& address, const Options& options) {
  return attempt(address, options, Trust::none, Family::any).result == CURLE_OK;
}

}  // namespace PellixApp
