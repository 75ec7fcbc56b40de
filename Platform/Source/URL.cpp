#include <PellixPlatform/URL.h>

#include <uriparser/Uri.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

namespace PellixPlatform {
namespace {

std::string_view view(const UriTextRangeA& range) {
  if (!range.first) return {};
  return {range.first, static_cast<std::size_t>(range.afterLast - range.first)};
}

/// uriparser's memory for one parse: a piece of the stack, as large as ordinary addresses take, and
/// the heap for what is beyond that.
class ParserMemory {
 public:
  ParserMemory() { uriCompleteMemoryManager(&manager_, &backend_); }
  ParserMemory(const ParserMemory&) = delete;
  ParserMemory& operator=(const ParserMemory&) = delete;

  [[nodiscard]] UriMemoryManager* manager() { return &manager_; }

 private:
  static void* take(UriMemoryManager* self, std::size_t size) {
    auto& memory = *static_cast<ParserMemory*>(self->userData);
    constexpr std::size_t unit = alignof(std::max_align_t);
    const auto taken = (size + unit - 1) / unit * unit;
    if (taken > sizeof memory.bytes_ - memory.used_) return std::malloc(size);
    return memory.bytes_ + std::exchange(memory.used_, memory.used_ + taken);
  }

  static void giveBack(UriMemoryManager* self, void* piece) {
    const auto& memory = *static_cast<ParserMemory*>(self->userData);
    const auto offset = static_cast<std::byte*>(piece) - memory.bytes_;
    if (offset < 0 || std::ssize(memory.bytes_) <= offset) std::free(piece);
  }

  alignas(std::max_align_t) std::byte bytes_[1024];
  std::size_t used_ = 0;
  UriMemoryManager backend_{.malloc = take, .free = giveBack, .userData = this};
  UriMemoryManager manager_{};
};

std::string lowerCase(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(), [](char c) {
    return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return result;
}

int defaultPort(std::string_view scheme) {
  return scheme == "https" ? 443 : scheme == "http" ? 80 : -1;
}

/// The port that a text of digits names, or nothing if there is no such port.
std::optional<int> portOf(std::string_view text) {
  std::uint16_t port = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (failure != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return port;
}

bool isDigit(char c) {
  return '0' <= c && c <= '9';
}

bool isLowerCase(char c) {
  return 'a' <= c && c <= 'z';
}

bool isPlainInHost(char c) {
  return isLowerCase(c) || isDigit(c) || c == '.' || c == '-';
}

bool isPlainInPath(char c) {
  return isLowerCase(c) || ('A' <= c && c <= 'Z') || ('-' <= c && c <= '9') || c == '_' || c == '~';
}

}  // namespace

bool URL::readOrdinary() {
  const std::string_view text(text_);
  constexpr std::string_view mark = "://";
  const auto end = text.find(mark);
  const auto scheme = text.substr(0, end);
  if (end == text.npos || (scheme != "https" && scheme != "http")) return false;
  const auto rest = text.substr(end + mark.size());
  const auto authority = rest.substr(0, rest.find('/'));
  const auto host = authority.substr(0, authority.find(':'));
  const bool isLocal = host == "127.0.0.1";
  if (host.empty() || (isDigit(host.back()) && !isLocal)) return false;  // perhaps an address
  if (!std::ranges::all_of(host, isPlainInHost)) return false;
  if (!std::ranges::all_of(rest.substr(authority.size()), isPlainInPath)) return false;
  const bool hasPort = host.size() < authority.size();
  const auto port = hasPort ? portOf(authority.substr(host.size() + 1)) : defaultPort(scheme);
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
  const char* failedAt = nullptr;
  const char* begin = url.text_.data();
  ParserMemory memory;
  const int status =
      uriParseSingleUriExMmA(&uri, begin, begin + url.text_.size(), &failedAt, memory.manager());
  if (status == URI_ERROR_MALLOC) throw std::bad_alloc();
  if (status != URI_SUCCESS) return std::nullopt;
  const auto release = [&memory](UriUriA* parsed) {
    uriFreeUriMembersMmA(parsed, memory.manager());
  };
  const std::unique_ptr<UriUriA, decltype(release)> released(&uri, release);

  url.scheme_ = lowerCase(view(uri.scheme));
  const auto portText = view(uri.portText);
  const auto port = portText.empty() ? defaultPort(url.scheme_) : portOf(portText);
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
