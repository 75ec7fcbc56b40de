#include <PellixPlatform/URL.h>

#include <uriparser/Uri.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

namespace PellixPlatform {
namespace {

std::string_view view(const UriTextRangeA& range) {
  if (!range.first) return {};
  return {range.first, static_cast<std::size_t>(range.afterLast - range.first)};
}

std::string lowerCase(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(), [](char c) {
    return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return result;
}

bool isPort(std::string_view text) {
  std::uint16_t port = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), port);
  return text.empty() || (failure == std::errc{} && end == text.data() + text.size());
}

}  // namespace

std::optional<URL> URL::parse(std::string text) {
  if (text.empty()) return std::nullopt;
  // The same addresses are asked for again and again, so the latest is kept for whoever comes next.
  static constinit std::atomic<URL*> latest{nullptr};
  std::unique_ptr<URL> kept(latest.exchange(nullptr));
  if (!kept || kept->text_ != text) {
    auto parsed = parseAfresh(std::move(text));
    if (!parsed) return std::nullopt;
    kept = std::make_unique<URL>(*std::move(parsed));
  }
  URL result = *kept;
  kept.reset(latest.exchange(kept.release()));
  return result;
}

std::optional<URL> URL::parseAfresh(std::string text) {
  URL url;
  url.text_ = std::move(text);

  UriUriA uri;
  const char* failedAt = nullptr;
  const char* begin = url.text_.data();
  const int status = uriParseSingleUriExA(&uri, begin, begin + url.text_.size(), &failedAt);
  if (status == URI_ERROR_MALLOC) throw std::bad_alloc();
  if (status != URI_SUCCESS) return std::nullopt;
  const std::unique_ptr<UriUriA, void (*)(UriUriA*)> release(&uri, uriFreeUriMembersA);
  if (!isPort(view(uri.portText))) return std::nullopt;

  url.scheme_ = lowerCase(view(uri.scheme));
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

}  // namespace PellixPlatform
