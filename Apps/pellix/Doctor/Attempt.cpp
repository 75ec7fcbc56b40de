#include "Doctor/Attempt.h"

#include <PellixPlatform/URL.h>

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>

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

}  // namespace

Attempt attempt(const std::string& address, const Options& options, Trust trust) {
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
  set(CURLOPT_CERTINFO, 1L);
  set(CURLOPT_SSL_VERIFYPEER, trust == Trust::none ? 0L : 1L);
  set(CURLOPT_SSL_VERIFYHOST, trust == Trust::authorityAndHost ? 2L : 0L);
  if (!options.certificateAuthorities.empty()) {
    set(CURLOPT_CAINFO, options.certificateAuthorities.c_str());
    set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
  }
  if (PellixPlatform::URL::parse(address)->isLoopback()) set(CURLOPT_PROXY, "");

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
  made.chain = chainOf(easy);
  return made;
}

}  // namespace PellixApp
