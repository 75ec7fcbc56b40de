#include "CurlTransfer.h"

#include <PellixPlatform/URL.h>
#include <QuorvelCoreSDK/CoreError.h>

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <new>
#include <string_view>
#include <utility>

namespace QuorvelCoreSDK {
namespace {

constexpr std::size_t largestHeaders = std::size_t{256} << 10;  // bytes, of all fields together

const char* nameOf(HttpMethod method) {
  switch (method) {
    case HttpMethod::post:
      return "POST";
    case HttpMethod::put:
      return "PUT";
    case HttpMethod::delete_:
      return "DELETE";
    case HttpMethod::get:
      break;
  }
  return "GET";
}

struct Meaning {
  CURLcode result;
  CoreErrorCode code;
};

constexpr auto meanings = std::to_array<Meaning>({
    {CURLE_COULDNT_RESOLVE_HOST, CoreErrorCode::cannotResolveHost},
    {CURLE_COULDNT_RESOLVE_PROXY, CoreErrorCode::cannotResolveProxy},
    {CURLE_COULDNT_CONNECT, CoreErrorCode::cannotConnect},
    {CURLE_OPERATION_TIMEDOUT, CoreErrorCode::timedOut},
    {CURLE_PEER_FAILED_VERIFICATION, CoreErrorCode::untrustedCertificate},
    {CURLE_SSL_ISSUER_ERROR, CoreErrorCode::untrustedCertificate},
    {CURLE_SSL_CONNECT_ERROR, CoreErrorCode::secureConnectionFailed},
    {CURLE_SSL_CIPHER, CoreErrorCode::secureConnectionFailed},
    {CURLE_SSL_CACERT_BADFILE, CoreErrorCode::unreadableCertificateStore},
    {CURLE_GOT_NOTHING, CoreErrorCode::connectionLost},
    {CURLE_SEND_ERROR, CoreErrorCode::connectionLost},
    {CURLE_RECV_ERROR, CoreErrorCode::connectionLost},
    {CURLE_PARTIAL_FILE, CoreErrorCode::connectionLost},
    {CURLE_ABORTED_BY_CALLBACK, CoreErrorCode::connectionLost},  // by `mayBeSent`
    {CURLE_HTTP2, CoreErrorCode::malformedReply},
    {CURLE_HTTP2_STREAM, CoreErrorCode::connectionLost},
    {CURLE_WEIRD_SERVER_REPLY, CoreErrorCode::malformedReply},
    {CURLE_UNSUPPORTED_PROTOCOL, CoreErrorCode::malformedReply},
    {CURLE_BAD_CONTENT_ENCODING, CoreErrorCode::malformedReply},
    {CURLE_PROXY, CoreErrorCode::proxyFailed},
});

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  const auto begin = text.find_first_not_of(blanks);
  if (begin == text.npos) return {};
  return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

/// A socket that the host's child processes do not inherit.
curl_socket_t openSocket(void*, curlsocktype, curl_sockaddr* address) {
  return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

/// Runs `body`; false if memory is missing. No exception may pass through libcurl.
template <class Body>
bool hasMemoryFor(Body body) {
  try {
    body();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace

CurlTransfer::CurlTransfer(TransportRequest request, Transport::Completion completion,
                           std::shared_ptr<const NetworkConfiguration> configuration)
    : request_(std::move(request)),
      completion_(std::move(completion)),
      configuration_(std::move(configuration)),
      deadline_(deadlineAfter(configuration_->requestTimeout)) {}

void CurlTransfer::prepare(CURL* easy) {
  const auto set = [easy](CURLoption option, auto value) {
    // A request must not go out without one of its options.
    if (curl_easy_setopt(easy, option, value) == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
  };
  const auto& network = *configuration_;

  set(CURLOPT_URL, request_.url.c_str());
  set(CURLOPT_PATH_AS_IS, 1L);
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_QUICK_EXIT, 1L);  // a slow name server holds up its own request, and no others
  set(CURLOPT_PROTOCOLS_STR, "http,https");
  set(CURLOPT_FOLLOWLOCATION, 0L);
  set(CURLOPT_ERRORBUFFER, detail_);
  set(CURLOPT_OPENSOCKETFUNCTION, openSocket);

  // A request that has waited for its turn has that much less time left; zero would mean no limit.
  constexpr std::chrono::milliseconds least(1);
  const auto left =
      std::max(least, std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now()));
  set(CURLOPT_TIMEOUT_MS, static_cast<long>(left.count()));
  set(CURLOPT_CONNECTTIMEOUT_MS,
      static_cast<long>(std::clamp(network.connectTimeout, least, left).count()));

  set(CURLOPT_SSL_VERIFYPEER, 1L);
  set(CURLOPT_SSL_VERIFYHOST, 2L);
  if (!network.certificateAuthorities.empty()) {
    set(CURLOPT_CAINFO, network.certificateAuthorities.c_str());
    set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
  }
  set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));

  const auto url = PellixPlatform::URL::parse(request_.url);
  // Without TLS, only a first reply would tell that a connection can't be shared.
  set(CURLOPT_PIPEWAIT, url && url->scheme() == "https" ? 1L : 0L);
  if (!network.proxy.empty()) {
    set(CURLOPT_PROXY, network.proxy.c_str());
    set(CURLOPT_NOPROXY, "");
  } else if (network.ignoreProxyEnvironment || (url && url->isLoopback())) {
    set(CURLOPT_PROXY, "");
  }

  const bool expectsBody =
      request_.method == HttpMethod::post || request_.method == HttpMethod::put;
  if (request_.body || expectsBody) {  // so that a length of 0 is sent: RFC 9110, section 8.6
    set(CURLOPT_POSTFIELDS, request_.body ? request_.body->data() : "");
    set(CURLOPT_POSTFIELDSIZE_LARGE,
        static_cast<curl_off_t>(request_.body ? request_.body->size() : 0));
  }
  set(CURLOPT_CUSTOMREQUEST, nameOf(request_.method));
  if (request_.method == HttpMethod::post) {
    set(CURLOPT_PREREQFUNCTION, mayBeSent);
    set(CURLOPT_PREREQDATA, this);
  }

  const auto addHeader = [this](const std::string& line) {
    auto* const longer = curl_slist_append(headers_.get(), line.c_str());
    if (!longer) throw std::bad_alloc();
    static_cast<void>(headers_.release());
    headers_.reset(longer);
  };
  for (const auto& [name, value] : request_.headers) {
    // An empty value is written with a semicolon; with a colon it would remove the header.
    addHeader(value.empty() ? name + ";" : name + ": " + value);
  }
  addHeader("Expect:");                            // large questions go out without asking first
  if (!request_.body) addHeader("Content-Type:");  // libcurl would say that it is a form
  set(CURLOPT_HTTPHEADER, headers_.get());
  set(CURLOPT_HEADEROPT, static_cast<long>(CURLHEADER_SEPARATE));  // a proxy sees none of them

  set(CURLOPT_HEADERFUNCTION, takeHeader);
  set(CURLOPT_HEADERDATA, this);
  set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  set(CURLOPT_WRITEFUNCTION, takeBody);
  set(CURLOPT_WRITEDATA, this);
}

int CurlTransfer::mayBeSent(void* self, char*, char*, int, int) {
  const bool isSecond = std::exchange(static_cast<CurlTransfer*>(self)->isSent_, true);
  return isSecond ? CURL_PREREQFUNC_ABORT : CURL_PREREQFUNC_OK;
}

std::size_t CurlTransfer::takeHeader(char* data, std::size_t size, std::size_t count, void* self) {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  const std::string_view line(data, size * count);
  transfer.headerBytes_ += line.size();
  if (transfer.headerBytes_ > largestHeaders) {
    transfer.isTooLarge_ = true;
    return CURL_WRITEFUNC_ERROR;
  }
  if (transfer.hasAllHeaders_) return size * count;  // a trailer field: RFC 9110, section 6.5.1
  if (line.starts_with("HTTP/")) {                   // an interim response may have come before
    transfer.responseHeaders_.clear();
    transfer.status_ = 0;
    if (const auto blank = line.find(' '); blank != line.npos) {
      std::from_chars(line.data() + blank + 1, line.data() + line.size(), transfer.status_);
    }
  } else if (const auto colon = line.find(':'); colon != line.npos) {
    const auto name = line.substr(0, colon);
    const auto value = trimmed(line.substr(colon + 1));
    if (!hasMemoryFor([&] { transfer.responseHeaders_.emplace_back(name, value); })) {
      return CURL_WRITEFUNC_ERROR;
    }
  } else if (trimmed(line).empty()) {
    transfer.hasAllHeaders_ = transfer.status_ >= 200;
  }
  return size * count;
}

std::size_t CurlTransfer::takeBody(char* data, std::size_t size, std::size_t count, void* self) {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  if (size * count > transfer.configuration_->maxResponseBytes - transfer.body_.size()) {
    transfer.isTooLarge_ = true;
    return CURL_WRITEFUNC_ERROR;
  }
  const bool isTaken = hasMemoryFor([&] { transfer.body_.append(data, size * count); });
  return isTaken ? size * count : CURL_WRITEFUNC_ERROR;
}

std::string_view CurlTransfer::detailOf(CURLcode result) const {
  const std::string_view detail(detail_[0] ? detail_ : curl_easy_strerror(result));
  // What libcurl goes on to quote may hold the proxy's password.
  constexpr std::string_view unusable = "Unsupported proxy";
  if (detail.starts_with(unusable)) return unusable;
  if (result == CURLE_ABORTED_BY_CALLBACK) return "the request is not sent a second time";
  return detail;
}

PellixPlatform::Error CurlTransfer::errorFor(CURLcode result, long proxyStatus) const {
  using enum CoreErrorCode;
  // A header line beyond libcurl's own bound is "out of memory" in its words.
  if (isTooLarge_ || (result == CURLE_OUT_OF_MEMORY && !hasAllHeaders_)) {
    return makeCoreError(replyTooLarge);
  }
  if (result == CURLE_OK)
    return makeCoreError(connectionLost, "the header fields are not complete");

  const auto detail = detailOf(result);
  const auto meaning = std::ranges::find(meanings, result, &Meaning::result);
  auto code = meaning == meanings.end() ? transportFailed : meaning->code;
  // For these two, libcurl's code is that of a connection that breaks.
  if (proxyStatus >= 300) code = proxyFailed;
  if (detail.ends_with(" in chunked-encoding")) code = malformedReply;
  return makeCoreError(code, detail);
}

void CurlTransfer::finish(CURLcode result, long proxyStatus) {
  TransportReply reply;
  if (result == CURLE_OK && hasAllHeaders_) {
    reply.response = std::make_shared<const PellixPlatform::HTTPURLResponse>(
        std::move(request_.url), status_, std::move(responseHeaders_));
    if (!body_.empty()) reply.data = std::move(body_);
  } else {
    reply.error = errorFor(result, proxyStatus);
  }
  const auto completion = std::exchange(completion_, nullptr);
  completion(std::move(reply));
}

}  // namespace QuorvelCoreSDK
