// Addresses: a template, its argument, and the addresses that they make.
// The input is the template up to a NUL, then the argument.

#include "Fuzz.h"

#include <PellixPlatform/URL.h>
#include <PellixPlatform/internal/FormatTemplate.h>
#include <QuorvelCoreSDK/Quorvel.h>
#include <QuorvelCoreSDK/internal/ServicePaths.h>

#include <QuorvelCoreSDKTesting/ScriptedTransport.h>
#include <curl/curl.h>

#include <regex>

namespace {

using Fuzz::require;
using PellixPlatform::formatTemplate;
using PellixPlatform::URL;

std::string replaced(std::string text, std::string_view from, std::string_view to) {
  for (auto at = text.find(from); at != text.npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

void checkTemplate(const std::string& text, const std::string& argument) {
  require(formatTemplate(replaced(text, "%", "%%"), argument) == text, "a doubled sign is a sign");
  constexpr std::string_view mark = "\1";  // stands in no template that is looked at
  const auto marked = formatTemplate(text, mark);
  const auto result = formatTemplate(text, argument);
  require(marked.has_value() == result.has_value(), "no argument makes a template good or bad");
  require(!marked || text.find(mark) != text.npos || replaced(*marked, mark, argument) == *result,
          "an argument is put in as it stands");
}

std::string lowerCase(std::string text) {
  for (char& c : text) c = 'A' <= c && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
  return text;
}

/// The host that the HTTP library would connect to; nothing if it refuses the address.
std::optional<std::string> connectedHost(const std::string& url) {
  const std::unique_ptr<CURLU, void (*)(CURLU*)> handle(curl_url(), curl_url_cleanup);
  char* host = nullptr;
  if (curl_url_set(handle.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK ||
      curl_url_get(handle.get(), CURLUPART_HOST, &host, 0) != CURLUE_OK) {
    return std::nullopt;
  }
  const std::unique_ptr<char, void (*)(void*)> release(host, curl_free);
  return lowerCase(host);
}

void checkURL(const URL& url) {
  // RFC 3986, appendix B, and the parts of its authority.
  static const std::regex generic(R"((([^:/?#]+):)?(//([^/?#]*))?([^?#]*)(\?([^#]*))?(#(.*))?)");
  static const std::regex authority(R"((([^@]*)@)?(\[([^\]]*)\]|([^:]*))(:[0-9]*)?)");
  std::smatch parts;
  std::smatch host;
  require(std::regex_match(url.string(), parts, generic), "an address has the generic syntax");
  const std::string whole = parts[4];
  require(std::regex_match(whole, host, authority), "an authority has the generic syntax");
  require(url.scheme() == lowerCase(parts[2]), "the scheme is that of the generic syntax");
  require(url.host() == lowerCase(host[4].str() + host[5].str()), "so is the host");
  require(url.hasUserInfo() == host[1].matched && url.hasQuery() == parts[6].matched &&
              url.hasFragment() == parts[8].matched,
          "so are the other parts");
  if (url.scheme() != "http" || !url.isLoopback()) return;
  static const std::regex loopback(R"(localhost|\[::1\]|127(\.[0-9]+){3})");
  require(std::regex_match(connectedHost(url.string()).value_or("localhost"), loopback),
          "what counts as loopback is not sent elsewhere");
}

/// Ordinary addresses are read by a short way of their own; with a fragment none is ordinary.
void checkWithFragment(const std::string& address) {
  if (address.empty() || address.contains('#')) return;
  const auto url = URL::parse(address);
  const auto other = URL::parse(address + "#");
  require(url.has_value() == other.has_value(), "a fragment makes no address good or bad");
  require(!url || (url->hasSameOrigin(*other) && url->isLoopback() == other->isLoopback() &&
                   url->hasUserInfo() == other->hasUserInfo() &&
                   url->hasQuery() == other->hasQuery() && !url->hasFragment()),
          "a fragment changes nothing else");
}

/// An account's address serves all that is built on it, or is refused at once.
void checkAccount(const std::string& address) {
  static const auto transport = std::make_shared<QuorvelCoreSDK::Testing::ScriptedTransport>();
  const auto quorvel = QuorvelCoreSDK::Quorvel::initialize({address, "application", "client"},
                                                           {.transport = transport});
  if (!quorvel) return;
  const auto& base = (*quorvel)->accountDetails().accountUrl();
  const auto account = URL::parse(base);
  const auto below = URL::parse(base + std::string(QuorvelCoreSDK::ServicePaths::accountSettings));
  require(account && below, "addresses below an account's are addresses");
  require(account->host() == below->host() && account->scheme() == below->scheme(),
          "addresses below an account's lead to the same host");
  require(account->scheme() == "https" || account->isLoopback(), "accounts are secure");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t longest = 512;  // regular expressions go deep
  Fuzz::Input input(Fuzz::textOf(data, std::min(size, longest)));
  const auto text = input.text();
  const auto argument = input.text();
  checkTemplate(text, argument);
  for (const auto& address : {argument, formatTemplate(text, argument).value_or("")}) {
    if (const auto url = URL::parse(address)) checkURL(*url);
    checkWithFragment(address);
    checkAccount(address);
  }
  return 0;
}
