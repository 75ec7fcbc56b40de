#include "AccountAddress.h"

#include "SecureURL.h"

#include <QuorvelCoreSDK/CoreError.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace QuorvelCoreSDK {
namespace {

/// What in a text keeps it from being a URL at all.
std::string_view faultOfText(const std::string& text) {
  const auto isControl = [](unsigned char c) { return c <= ' ' || c == 0x7F; };
  const auto isHexadecimal = [](char c) {
    return ('0' <= c && c <= '9') || ('a' <= (c | 0x20) && (c | 0x20) <= 'f');
  };
  if (std::ranges::any_of(text, isControl)) return "it holds a blank or a control character";
  if (std::ranges::any_of(text, [](char c) { return (c & 0x80) != 0; })) {
    return "an international host name is written in its xn-- form";
  }
  for (auto at = text.find('%'); at != text.npos; at = text.find('%', at + 1)) {
    if (!isHexadecimal(text[at + 1]) || !isHexadecimal(text[at + 2])) {  // a NUL ends the text
      return "a percent sign stands before two hexadecimal digits alone";
    }
  }
  return "it does not follow the grammar of URLs, or its port is above 65535";
}

std::string_view faultOf(const PellixPlatform::URL& url) {
  if (url.scheme().empty() || url.host().empty()) return "it needs a scheme and a host";
  if (url.hasUserInfo()) return "it must not hold a user";
  if (url.hasQuery() || url.hasFragment()) return "it must not hold a query or a fragment";
  // RFC 3986 allows both, for uses that HTTP has none of.
  if (url.host().contains('%')) return "its host holds a percent sign";
  if (url.host().starts_with('v') && url.string().contains("[")) {
    return "its host is an address of an unknown kind";
  }
  return {};
}

}  // namespace

std::expected<PellixPlatform::URL, PellixPlatform::Error> parseAccountAddress(
    const std::string& address) {
  auto url = PellixPlatform::URL::parse(address);
  const auto fault = url ? faultOf(*url) : faultOfText(address);
  if (!fault.empty()) {
    return std::unexpected(makeCoreError(CoreErrorCode::invalidAccountUrl, fault));
  }
  if (!isSecure(*url)) return std::unexpected(makeCoreError(CoreErrorCode::insecureUrl));
  return *std::move(url);
}

}  // namespace QuorvelCoreSDK
