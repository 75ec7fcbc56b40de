#include "Doctor/Probe.h"

#include <PellixPlatform/URL.h>

#include <curl/curl.h>
#include <fmt/chrono.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <memory>
#include <new>
#include <system_error>

namespace PellixApp {
namespace {

/// Which of a certificate's properties are insisted on.
enum class Trust : std::uint8_t { none, authority, authorityAndHost };

struct Certificate {
  std::string subject;
  std::string issuer;
  std::string names;
  std::time_t from = 0;
  std::time_t until = 0;
};

struct Attempt {
  CURLcode result = CURLE_OK;
  bool isResolved = false;
  long proxyStatus = 0;  // what a proxy answered that was asked for a tunnel
  long systemError = 0;
  std::string peer;  // empty: no connection
  Certificate certificate;
};

template <class T>
T info(CURL* easy, CURLINFO which) {
  T value{};
  curl_easy_getinfo(easy, which, &value);
  return value;
}

/// The server's own certificate, as far as a finished handshake made it known.
Certificate certificateOf(CURL* easy) {
  Certificate certificate;
  const auto* const chain = info<curl_certinfo*>(easy, CURLINFO_CERTINFO);
  if (!chain || chain->num_of_certs == 0) return certificate;
  for (const auto* line = chain->certinfo[0]; line; line = line->next) {
    const std::string text(line->data);
    const auto name = text.substr(0, text.find(':'));
    const auto value = text.substr(std::min(name.size() + 1, text.size()));
    if (name == "Subject") certificate.subject = value;
    if (name == "Issuer") certificate.issuer = value;
    if (name == "X509v3 Subject Alternative Name") certificate.names = value;
    if (name == "Start date") certificate.from = curl_getdate(value.c_str(), nullptr);
    if (name == "Expire date") certificate.until = curl_getdate(value.c_str(), nullptr);
  }
  return certificate;
}

Attempt attempt(const std::string& address, const Options& options, Trust trust) {
  const std::unique_ptr<CURL, void (*)(CURL*)> owner(curl_easy_init(), curl_easy_cleanup);
  auto* const easy = owner.get();
  if (!easy) throw std::bad_alloc();
  const auto set = [easy](CURLoption option, auto value) { curl_easy_setopt(easy, option, value); };
  set(CURLOPT_URL, address.c_str());
  set(CURLOPT_CONNECT_ONLY, 1L);
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_QUICK_EXIT, 1L);  // a slow name server does not hold up the end
  set(CURLOPT_TIMEOUT_MS, static_cast<long>(longestConnecting.count()));
  set(CURLOPT_CERTINFO, 1L);
  set(CURLOPT_SSL_VERIFYPEER, trust == Trust::none ? 0L : 1L);
  set(CURLOPT_SSL_VERIFYHOST, trust == Trust::authorityAndHost ? 2L : 0L);
  if (!options.certificateAuthorities.empty()) {
    set(CURLOPT_CAINFO, options.certificateAuthorities.c_str());
    set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
  }
  if (PellixPlatform::URL::parse(address)->isLoopback()) set(CURLOPT_PROXY, "");

  Attempt made{.result = curl_easy_perform(easy)};
  made.isResolved = info<curl_off_t>(easy, CURLINFO_NAMELOOKUP_TIME_T) > 0;
  made.proxyStatus = info<long>(easy, CURLINFO_HTTP_CONNECTCODE);
  made.systemError = info<long>(easy, CURLINFO_OS_ERRNO);
  if (const auto* peer = info<const char*>(easy, CURLINFO_PRIMARY_IP); peer && *peer) {
    made.peer = fmt::format("{} port {}", peer, info<long>(easy, CURLINFO_PRIMARY_PORT));
  }
  made.certificate = certificateOf(easy);
  return made;
}

std::string timeText(std::time_t time) {
  return time == 0 ? "an unknown time" : fmt::format("{:%Y-%m-%d %H:%M} UTC", fmt::gmtime(time));
}

/// Tells why a certificate isn't accepted by asking for less and less.
Finding refusedCertificate(const std::string& address, const Options& options) {
  const auto forAnyHost = attempt(address, options, Trust::authority);
  if (forAnyHost.result == CURLE_OK) {
    const auto& [subject, issuer, names, from, until] = forAnyHost.certificate;
    return problem(
        "The server's certificate is for another host: " + (names.empty() ? subject : names),
        "Use a name that it is for in the account's address, or have it issued anew.");
  }
  const auto certificate = attempt(address, options, Trust::none).certificate;
  const auto now = std::time(nullptr);
  if (certificate.until != 0 && certificate.until < now) {
    return problem("The server's certificate has expired: " + timeText(certificate.until),
                   "Have the server's certificate renewed. If it has been, set this machine's "
                   "clock.");
  }
  if (now < certificate.from) {
    return problem("The server's certificate is not valid before " + timeText(certificate.from),
                   "Set this machine's clock. If it is right, have the certificate issued anew.");
  }
  if (!certificate.subject.empty() && certificate.subject == certificate.issuer) {
    return problem("The server's certificate is self-signed: " + certificate.subject,
                   "If the server is yours, name its certificate with --certificate-authorities.");
  }
  return problem("The server's certificate comes from no trusted authority: " + certificate.issuer,
                 "If the authority is yours, name its certificate with --certificate-authorities; "
                 "else have the server send its whole chain, or update the system's certificates.");
}

struct Diagnosis {
  CURLcode result;
  Step step;
  std::string_view found;
  std::string_view remedy;
};

constexpr auto diagnoses = std::to_array<Diagnosis>({
    {CURLE_COULDNT_RESOLVE_HOST, Step::resolution, "The host's name is unknown.",
     "Check the address in --account-url or PELLIX_ACCOUNT_URL, and the network's name servers."},
    {CURLE_COULDNT_RESOLVE_PROXY, Step::resolution, "The proxy's name is unknown.",
     "Check the proxy that the environment names (https_proxy)."},
    {CURLE_PROXY, Step::connection, "The proxy makes no connection.",
     "Check the proxy that the environment names (https_proxy)."},
    {CURLE_SSL_CACERT_BADFILE, Step::security, "The trusted certificates can't be read.",
     "Name a readable file of certificates (PEM) with --certificate-authorities."},
});

}  // namespace

std::string certificateStore(const Options& options) {
  if (!options.certificateAuthorities.empty()) return options.certificateAuthorities;
  const auto* const version = curl_version_info(CURLVERSION_NOW);
  if (version->cainfo) return version->cainfo;
  return version->capath ? version->capath : "the TLS library's own";
}

Probe probe(const std::string& address, const Options& options) {
  const auto made = attempt(address, options, Trust::authorityAndHost);
  const std::string reason = curl_easy_strerror(made.result);
  const auto row = std::ranges::find(diagnoses, made.result, &Diagnosis::result);
  if (made.result == CURLE_OK) {
    return {.peer = made.peer, .certificateValidity = timeText(made.certificate.until)};
  }
  const auto failed = [&](Step step, Finding finding) {
    return Probe{.failed = step, .finding = std::move(finding), .peer = made.peer};
  };
  if (made.result == CURLE_PEER_FAILED_VERIFICATION) {
    return failed(Step::security, refusedCertificate(address, options));
  }
  if (row != diagnoses.end()) return failed(row->step, problem(row->found, row->remedy));
  if (made.proxyStatus >= 300) {
    return failed(Step::connection,
                  problem(fmt::format("The proxy refuses: status {}.", made.proxyStatus),
                          "Check the proxy that the environment names (https_proxy, no_proxy)."));
  }
  if (!made.peer.empty()) {
    return failed(Step::security,
                  problem("No secure connection: " + reason,
                          "Check that the port in the account's address is one for https."));
  }
  const auto why = made.systemError == 0
                       ? reason
                       : std::generic_category().message(static_cast<int>(made.systemError));
  return failed(made.isResolved ? Step::connection : Step::resolution,
                problem("No connection: " + why,
                        "Check the host and the port in the account's address, the proxy that the "
                        "environment names if any, and that the service runs."));
}

}  // namespace PellixApp
