#include "Doctor/Checks.h"

#include <PellixPlatform/URL.h>

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace PellixApp {
namespace {

std::string_view valueOf(const char* variable) {
  const char* const value = std::getenv(variable);
  return value ? value : "";
}

/// Scheme, host and port of a proxy's address: a user and a password may stand in it.
std::string withoutUser(std::string_view address) {
  const std::string text(address.contains("://") ? "" : "http://");
  const auto url = PellixPlatform::URL::parse(text + std::string(address));
  const bool isWhole = url && !url->scheme().empty() && !url->host().empty();
  if (!isWhole) return "an address that can't be read";
  const auto& whole = url->string();
  const auto begin = whole.find("://") + 3;
  const auto end = std::min(whole.find_first_of("/?#", begin), whole.size());
  const auto host = url->hasUserInfo() ? whole.rfind('@', end) + 1 : begin;
  return whole.substr(0, begin) + whole.substr(host, end - host);
}

}  // namespace

Finding checkProxy(Examination& examination) {
  struct Variable {
    const char* name;
    bool counts;
  };
  // In the order in which the library asks for them.
  constexpr auto variables = std::to_array<Variable>({{"https_proxy", true},
                                                      {"HTTPS_PROXY", true},
                                                      {"all_proxy", true},
                                                      {"ALL_PROXY", true},
                                                      {"http_proxy", false},
                                                      {"HTTP_PROXY", false}});
  std::string named;
  std::string others;
  for (const auto& [name, counts] : variables) {
    const auto value = valueOf(name);
    if (value.empty()) continue;
    if (counts && named.empty()) {
      named = fmt::format("{} names {}", name, withoutUser(value));
    } else {
      others += fmt::format("{} {}", others.empty() ? "; without effect:" : ",", name);
    }
  }
  const auto* const exempting = valueOf("no_proxy").empty() ? "NO_PROXY" : "no_proxy";
  if (const auto exempt = valueOf(exempting); !named.empty() && !exempt.empty()) {
    named += fmt::format(", but not for the hosts of {}: {}", exempting, exempt);
  }
  const auto url = PellixPlatform::URL::parse(examination.options.accountUrl);
  const bool isDirect = !named.empty() && url && url->isLoopback();
  return ok((named.empty() ? "none" : named) + others +
            (isDirect ? "; loopback is reached without it" : ""));
}

}  // namespace PellixApp
