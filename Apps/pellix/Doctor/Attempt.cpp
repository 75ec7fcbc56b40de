#include "Doctor/Attempt.h"

#include <PellixPlatform/URL.h>

#include <fmt/core.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <utility>

namespace PellixApp {
namespace {

template <class T>
T info(CURL* easy, CURLINFO which) {
  T value{};
  curl_easy_getinfo(easy, which, &value);
  return value;
}

/// The server's certificate and those that it sent along, as far as a handshake made them known.
std::vector<Certificate> chainOf(CURL* easy) {
  std::vector<Certificate> chain;
  const auto* const known = info<curl_certinfo*>(easy, CURLINFO_CERTINFO);
  for (int at = 0; known && at < known->num_of_certs; ++at) {
    auto& certificate = chain.emplace_back();
    for (const auto* line = known->certinfo[at]; line; line = line->next) {
      const std::string text(line->data);
      const auto name = text.substr(0, text.find(':'));
      const auto value = text.substr(std::min(name.size() + 1, text.size()));
      if (name == "Subject") certificate.subject = value;
      if (name == "Issuer") certificate.issuer = value;
      if (name == "X509v3 Subject Alternative Name") certificate.names = value;
      if (name == "Start date") certificate.from = curl_getdate(value.c_str(), nullptr);
      if (name == "Expire date") certificate.until = curl_getdate(value.c_str(), nullptr);
    }
  }
  return chain;
}

struct Connecting {
  CURL* easy;
  std::string tls;
};

/// Called once the connection stands: later on, libcurl no longer says what it is like.
int noteTLS(void* self, char*, char*, int, int) {
  auto& connecting = *static_cast<Connecting*>(self);
  const auto* const session = info<curl_tlssessioninfo*>(connecting.easy, CURLINFO_TLS_SSL_PTR);
  if (session && session->backend == CURLSSLBACKEND_OPENSSL && session->internals) {
    connecting.tls = SSL_get_version(static_cast<const SSL*>(session->internals));
  }
  return CURL_PREREQFUNC_OK;
}

constexpr long resolutionFor(Family family) {
  switch (family) {
    case Family::any:
      return CURL_IPRESOLVE_WHATEVER;
    case Family::ipv4:
      return CURL_IPRESOLVE_V4;
    case Family::ipv6:
      return CURL_IPRESOLVE_V6;
  }
  std::unreachable();
}

}  // namespace

Attempt attempt(const std::string& address, const Options& options, Trust trust, Family family) {
  const std::unique_ptr<CURL, void (*)(CURL*)> owner(curl_easy_init(), curl_easy_cleanup);
  auto* const easy = owner.get();
  if (!easy) throw std::bad_alloc();
  const auto set = [easy](CURLoption option, auto value) { curl_easy_setopt(easy, option, value); };
  set(CURLOPT_URL, address.c_str());
  set(CURLOPT_CONNECT_ONLY, 1L);
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_QUICK_EXIT, 1L);  // a slow name server does not hold up the end
  set(CURLOPT_TIMEOUT_MS, static_cast<long>(options.timeout.count()));
  set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  set(CURLOPT_IPRESOLVE, resolutionFor(family));
  set(CURLOPT_CERTINFO, 1L);
  set(CURLOPT_SSL_VERIFYPEER, trust == Trust::none ? 0L : 1L);
  set(CURLOPT_SSL_VERIFYHOST, trust == Trust::authorityAndHost ? 2L : 0L);
  if (!options.certificateAuthorities.empty()) {
    set(CURLOPT_CAINFO, options.certificateAuthorities.c_str());
    set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
  }
  if (PellixPlatform::URL::parse(address)->isLoopback()) set(CURLOPT_PROXY, "");

  Connecting connecting{.easy = easy, .tls = {}};
  set(CURLOPT_PREREQFUNCTION, static_cast<curl_prereq_callback>(noteTLS));
  set(CURLOPT_PREREQDATA, &connecting);

  std::array<char, CURL_ERROR_SIZE> words{};
  set(CURLOPT_ERRORBUFFER, words.data());

  Attempt made{.result = curl_easy_perform(easy)};
  made.reason = words.front() ? words.data() : curl_easy_strerror(made.result);
  made.isResolved = info<curl_off_t>(easy, CURLINFO_NAMELOOKUP_TIME_T) > 0;
  made.proxyError = info<long>(easy, CURLINFO_PROXY_ERROR);
  made.proxyStatus = info<long>(easy, CURLINFO_HTTP_CONNECTCODE);
  made.systemError = info<long>(easy, CURLINFO_OS_ERRNO);
  made.verification = info<long>(easy, CURLINFO_SSL_VERIFYRESULT);
  if (const auto* peer = info<const char*>(easy, CURLINFO_PRIMARY_IP); peer && *peer) {
    made.peer = fmt::format("{} port {}", peer, info<long>(easy, CURLINFO_PRIMARY_PORT));
  }
  made.tls = std::move(connecting.tls);
  made.chain = chainOf(easy);
  return made;
}

}  // namespace PellixApp
