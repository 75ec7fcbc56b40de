#include "ASCII.h"

#include <PellixPlatform/URL.h>

#include <uriparser/Uri.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

namespace PellixPlatform {
namespace {

std::string_view view(const UriTextRangeA& range) {
  return {range.first, static_cast<std::size_t>(range.afterLast - range.first)};
}

std::string lowerCase(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(), ASCII::lowerCase);
  return result;
}

std::optional<int> defaultPort(std::string_view scheme) {
  if (scheme == "https") return 443;
  if (scheme == "http") return 80;
  return std::nullopt;
}

/// The port that a text of digits names, or nothing if there is no such port.
std::optional<int> portOf(std::string_view text) {
  std::uint16_t port{};
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (failure != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return port;
}

bool isPlainInHost(char c) {
  return ASCII::isLowerCase(c) || ASCII::isDigit(c) || c == '.' || c == '-';
}

/// Most of what RFC 3986 has in a path, in few comparisons.
bool isPlainInPath(char c) {
  return ASCII::isLowerCase(c) || ('@' <= c && c <= 'Z') || ('&' <= c && c <= ';') || c == '_' ||
         c == '~';
}

}  // namespace

bool URL::readOrdinary() {
  const std::string_view text(text_);
  constexpr std::string_view mark = "://";
  const auto end = text.find(mark);
  const auto scheme = text.substr(0, end);
  auto port = defaultPort(scheme);
  if (end == text.npos || !port) return false;
  const auto rest = text.substr(end + mark.size());
  const auto authority = rest.substr(0, rest.find('/'));
  const auto host = authority.substr(0, authority.find(':'));
  const bool isLocal = host == "127.0.0.1";
  if (!host.empty() && ASCII::isDigit(host.back()) && !isLocal) return false;  // perhaps an address
  if (!std::ranges::all_of(host, isPlainInHost)) return false;
  if (!std::ranges::all_of(rest.substr(authority.size()), isPlainInPath)) return false;
  if (host.size() < authority.size()) port = portOf(authority.substr(host.size() + 1));
  if (!port) return false;
  scheme_ = scheme;
  host_ = host;
  port_ = *port;
  isIPv4_ = isLocal;
  return true;
}

std::optional<URL> URL::parse(std::string text) {
  if (text.empty()) return std::nullopt;
  URL url;
  url.text_ = std::move(text);
  if (url.readOrdinary()) return url;

  UriUriA uri;
  const char* const begin = url.text_.data();
  const int status = uriParseSingleUriExA(&uri, begin, begin + url.text_.size(), nullptr);
  if (status == URI_ERROR_MALLOC) throw std::bad_alloc();
  if (status != URI_SUCCESS) return std::nullopt;
  const std::unique_ptr<UriUriA, decltype(&uriFreeUriMembersA)> released(&uri, uriFreeUriMembersA);

  url.scheme_ = lowerCase(view(uri.scheme));
  const auto portText = view(uri.portText);
  const auto port =
      portText.empty() ? defaultPort(url.scheme_).value_or(url.port_) : portOf(portText);
  if (!port) return std::nullopt;
  url.port_ = *port;
  url.host_ = lowerCase(view(uri.hostText));
  url.isIPv4_ = uri.hostData.ip4 != nullptr;
  url.hasUserInfo_ = uri.userInfo.first != nullptr;
  url.hasQuery_ = uri.query.first != nullptr;
  url.hasFragment_ = uri.fragment.first != nullptr;
  return url;
}

bool URL::isLoopback() const {
  return host_ == "localhost" || host_ == "::1" || (isIPv4_ && host_.starts_with("127."));
}

bool URL::hasSameOrigin(const URL& other) const {
  return scheme_ == other.scheme_ && host_ == other.host_ && port_ == other.port_;
}

}  // namespace PellixPlatform
