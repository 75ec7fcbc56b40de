#include "CurlTransfer.h"

#include "CurlFailure.h"
#include "TlsContext.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <new>
#include <span>
#include <string_view>
#include <utility>

namespace QuorvelCoreSDK {
namespace {

constexpr std::size_t largestHeaders = std::size_t{256} << 10;  // bytes, of all fields together
constexpr int mostHeaderLines = 1000;  // each takes a few hundred bytes, however short it is
constexpr long trustSeconds = 300;     // for which trusted certificates that were read are kept
// Of what is read at once. With less, libcurl 7.88 may miss the end of one of many large replies
// without a length that come over one connection.
constexpr long bufferBytes = 100L << 10;

struct Protocol {
  long version;
  std::string_view name;
};

constexpr auto protocols = std::to_array<Protocol>({
    {CURL_HTTP_VERSION_1_0, "HTTP/1.0"},
    {CURL_HTTP_VERSION_1_1, "HTTP/1.1"},
    {CURL_HTTP_VERSION_2_0, "HTTP/2"},
});

/// What libcurl says of a number: 7.88, and 8. Its notes of header fields begin otherwise.
struct Note {
  std::string_view beforeNumber;
  std::string_view behind;
};

constexpr auto notesOfLastStream = std::to_array<Note>({
    {"recveived GOAWAY, error=0, last_stream=", ""},
    {"received GOAWAY, error=0, last_stream=", ""},
});

constexpr auto notesOfOpenedStream = std::to_array<Note>({
    {"Using Stream ID: ", " "},
    {"[HTTP/2] [", "] OPENED stream for "},
});

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

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  const auto begin = text.find_first_not_of(blanks);
  if (begin == text.npos) return {};
  return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

curl_socket_t openSocket(void* sockets, curlsocktype, curl_sockaddr* address) {
  return static_cast<Sockets*>(sockets)->open(address->family, address->socktype,
                                              address->protocol);
}

int closeSocket(void* sockets, curl_socket_t socket) {
  static_cast<Sockets*>(sockets)->close(socket);
  return 0;
}

/// The number in a note that has one of the forms.
std::optional<std::int64_t> numberIn(std::string_view note, std::span<const Note> forms) {
  for (const auto& [beforeNumber, behind] : forms) {
    if (!note.starts_with(beforeNumber)) continue;
    const auto* const end = note.data() + note.size();
    std::int64_t number = 0;
    const auto read = std::from_chars(note.data() + beforeNumber.size(), end, number);
    const bool fits = std::string_view(read.ptr, end).starts_with(behind);
    if (fits && read.ec == std::errc()) return number;
  }
  return std::nullopt;
}

template <class Value>
void set(CURL* easy, CURLoption option, Value value) {
  // A request must not go out without one of its options.
  if (curl_easy_setopt(easy, option, value) == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
}

void set(CURL* easy, CURLoption option, bool isOn) {
  set(easy, option, static_cast<long>(isOn));
}

long longOf(CURL* easy, CURLINFO info) {
  long value = 0;
  curl_easy_getinfo(easy, info, &value);
  return value;
}

void* tlsOf(CURL* easy) {
  curl_tlssessioninfo* session = nullptr;
  curl_easy_getinfo(easy, CURLINFO_TLS_SSL_PTR, &session);
  return session ? session->internals : nullptr;
}

/// RFC 9110, section 8.6. One that is said several times comes as a list.
bool isLength(std::string_view value) {
  constexpr std::string_view digits = "0123456789";
  constexpr std::size_t most = 18;  // digits, so that it is a number of libcurl's, too
  const auto length = value.substr(0, value.find(','));
  if (length.empty() || length.size() > most || length.find_first_not_of(digits) != length.npos) {
    return false;
  }
  while (value.starts_with(length) && value.substr(length.size()).starts_with(", ")) {
    value.remove_prefix(length.size() + 2);
  }
  return value == length;
}

/// RFC 9112, section 7.1.
bool isChunked(std::string_view codings) {
  constexpr std::string_view name = "chunked";
  const auto last = codings.substr(codings.size() - std::min(codings.size(), name.size()));
  constexpr auto small = [](char c) { return static_cast<char>(c | 0x20); };
  return std::ranges::equal(last, name, {}, small);
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
                           std::shared_ptr<const Network> network)
    : request_(std::move(request)),
      completion_(std::move(completion)),
      network_(std::move(network)),
      deadline_(deadlineAfter(request_.requestTimeout.value_or(network_->requestTimeout))) {
  writeHeaders();
}

Clock::time_point CurlTransfer::waitsUntil() const {
  constexpr std::chrono::seconds longest(1);
  return request_.waitsForConnection ? std::min(made_ + longest, deadline_) : made_;
}

std::string_view CurlTransfer::origin() const {
  const std::string_view url = request_.url.string();
  constexpr std::string_view before = "//";
  const auto host = url.find(before) + before.size();
  return url.substr(0, url.find_first_of("/?#", host));
}

void CurlTransfer::configure(CURL* easy, Sockets& sockets, const Network& network) {
  // Unasked, libcurl checks certificates and the names in them, follows no redirect, speaks HTTP/2
  // where TLS agrees on it, and shows a proxy none of a request's header fields.
  set(easy, CURLOPT_PATH_AS_IS, true);
  set(easy, CURLOPT_NOSIGNAL, true);
  set(easy, CURLOPT_BUFFERSIZE, bufferBytes);
  set(easy, CURLOPT_QUICK_EXIT, true);  // a slow name server holds up its own request alone
  set(easy, CURLOPT_OPENSOCKETFUNCTION, openSocket);
  set(easy, CURLOPT_OPENSOCKETDATA, &sockets);
  set(easy, CURLOPT_CLOSESOCKETFUNCTION, closeSocket);
  set(easy, CURLOPT_CLOSESOCKETDATA, &sockets);

  set(easy, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  set(easy, CURLOPT_PROXY_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  set(easy, CURLOPT_CA_CACHE_TIMEOUT, trustSeconds);
  const bool hasOwnFile = !network.certificateAuthorities.empty();
  if (hasOwnFile) {
    set(easy, CURLOPT_CAINFO, network.certificateAuthorities.c_str());
    set(easy, CURLOPT_PROXY_CAINFO, network.certificateAuthorities.c_str());
  }
  // If it knew of the system's folder, libcurl would read the system's file, of some 150
  // certificates, anew for every connection.
  const auto* const folder = hasOwnFile ? nullptr : curl_version_info(CURLVERSION_NOW)->capath;
  set(easy, CURLOPT_CAPATH, canWatchTls() ? nullptr : folder);
  set(easy, CURLOPT_PROXY_CAPATH, canWatchTls() ? nullptr : folder);
  if (canWatchTls()) {
    set(easy, CURLOPT_PRIVATE, folder);
    set(easy, CURLOPT_SSL_CTX_FUNCTION, network.logsTlsSecrets ? watchTls : watchTlsInSecret);
    set(easy, CURLOPT_SSL_CTX_DATA, &sockets);
  }
  set(easy, CURLOPT_NOPROXY, network.proxyExceptions.c_str());
  set(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, true);
  set(easy, CURLOPT_NOPROGRESS, network.proxy.empty());
  set(easy, CURLOPT_XFERINFOFUNCTION, mayHaveMore);

  set(easy, CURLOPT_PREREQFUNCTION, static_cast<curl_prereq_callback>(mayBeSent));
  set(easy, CURLOPT_DEBUGFUNCTION, takeNote);
  set(easy, CURLOPT_HEADERFUNCTION, takeHeader);
  set(easy, CURLOPT_WRITEFUNCTION, takeBody);
}

void CurlTransfer::prepare(CURL* easy, Sockets& sockets, bool isMultiplexed) {
  easy_ = easy;
  started_ = Clock::now();
  sockets_ = &sockets;
  isMultiplexed_ = isMultiplexed;
  detail_[0] = 0;
  sentBytes_ = 0;
  isStale_ = false;

  // First, so that it refers to no earlier transfer, should memory run out.
  set(easy, CURLOPT_ERRORBUFFER, detail_);
  for (const auto option : {CURLOPT_PREREQDATA, CURLOPT_DEBUGDATA, CURLOPT_HEADERDATA,
                            CURLOPT_WRITEDATA, CURLOPT_XFERINFODATA}) {
    set(easy, option, this);
  }

  set(easy, CURLOPT_URL, request_.url.string().c_str());
  set(easy, CURLOPT_FRESH_CONNECT, attempts_ > 1);

  // A request that has waited for its turn has that much less time left; zero would mean no limit.
  constexpr std::chrono::milliseconds least(1);
  const auto left =
      std::max(least, std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now()));
  set(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(left.count()));
  set(easy, CURLOPT_CONNECTTIMEOUT_MS,
      static_cast<long>(std::clamp(network_->connectTimeout, least, left).count()));

  // Always said, as its exceptions are, so that libcurl does not read the environment while the
  // host may be changing it.
  set(easy, CURLOPT_PROXY, request_.url.isLoopback() ? "" : network_->proxy.c_str());

  set(easy, CURLOPT_HTTPGET, true);
  const bool expectsBody =
      request_.method == HttpMethod::post || request_.method == HttpMethod::put;
  if (request_.body || expectsBody) {  // so that a length of 0 is sent: RFC 9110, section 8.6
    set(easy, CURLOPT_POSTFIELDS, request_.body ? request_.body->data() : "");
    set(easy, CURLOPT_POSTFIELDSIZE_LARGE,
        static_cast<curl_off_t>(request_.body ? request_.body->size() : 0));
  }
  set(easy, CURLOPT_CUSTOMREQUEST, nameOf(request_.method));
  set(easy, CURLOPT_HTTPHEADER, sentHeaderLines_.data());
}

void CurlTransfer::writeHeaders() {
  static char expect[] = "Expect:";             // large questions go out without asking first
  static char contentType[] = "Content-Type:";  // libcurl would say that it is a form
  std::size_t size = 0;
  for (const auto& [name, value] : request_.headers) {
    size += name.size() + value.size() + sizeof ": ";
  }
  sentHeaders_.reserve(size);  // so that it stays where it is
  sentHeaderLines_.reserve(request_.headers.size() + 2);
  for (const auto& [name, value] : request_.headers) {
    sentHeaderLines_.push_back(
        {.data = sentHeaders_.data() + sentHeaders_.size(), .next = nullptr});
    // An empty value is written with a semicolon; with a colon it would remove the header.
    sentHeaders_.append(name).append(value.empty() ? ";" : ": ").append(value).push_back(0);
  }
  sentHeaderLines_.push_back({.data = expect, .next = nullptr});
  if (!request_.body) sentHeaderLines_.push_back({.data = contentType, .next = nullptr});
  for (std::size_t i = 1; i < sentHeaderLines_.size(); ++i) {
    sentHeaderLines_[i - 1].next = &sentHeaderLines_[i];
  }
}

int CurlTransfer::mayBeSent(void* self, char* peer, char*, int peerPort, int localPort) {
  const bool may = static_cast<CurlTransfer*>(self)->mayBeSent(
      {.peer = peer, .peerPort = peerPort, .localPort = localPort});
  return may ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

bool CurlTransfer::mayBeSent(const Sockets::Route& route) {
  const auto previous = std::exchange(connection_, nullptr);
  sockets_->endUse(previous);
  isRepeated_ = isSent_;
  // libcurl begins anew by itself when the connection has come to an end, or when the server has
  // refused the stream, which it tells from no other end, or asks for HTTP/1.1, whatever has come.
  // Nor does it tell what of a request has gone out, if that was not all that it had to write.
  const bool mayHaveBeenHeard =
      request_.method == HttpMethod::post && !Sockets::wasLeftOut(previous, stream_);
  if (isRepeated_ && (mayHaveBeenHeard || headerBytes_ > 0)) return false;
  isStale_ = sockets_->isSpent(route);
  if (isStale_) return false;
  auto* const tls = tlsOf(easy_);
  hasSharedConnection_ = speaksHttp2(tls);
  connection_ = sockets_->beginUse(route, tls);
  receivedBefore_ = Sockets::receivedBytes(connection_);
  sentBytes_ = 0;
  stream_ = 0;
  connectsBefore_ = longOf(easy_, CURLINFO_NUM_CONNECTS);
  isSent_ = true;
  curl_easy_setopt(easy_, CURLOPT_VERBOSE, 1L);  // so that what is sent is counted from here on
  return true;
}

int CurlTransfer::mayHaveMore(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  if (transfer.sockets_->mayHaveMore(self)) return 0;
  transfer.isTooLarge_ = true;
  return 1;
}

int CurlTransfer::takeNote(CURL* easy, curl_infotype kind, char* text, std::size_t size,
                           void* self) {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  const bool isOut = kind == CURLINFO_HEADER_OUT || kind == CURLINFO_DATA_OUT;
  if (isOut && transfer.isSent_) transfer.sentBytes_ += size;  // else it is for a proxy
  if (transfer.isMultiplexed_) {
    if (kind == CURLINFO_TEXT) transfer.readNote({text, size});
  } else {
    const auto& body = transfer.request_.body;
    const bool isAll = kind == CURLINFO_DATA_OUT && body && size == body->size();
    if (isAll) curl_easy_setopt(easy, CURLOPT_VERBOSE, 0L);  // what else it would say costs time
  }
  return 0;
}

void CurlTransfer::readNote(std::string_view note) {
  // As libcurl 7.88 and 8 say it. A note that is not understood is as good as none.
  if (const auto last = numberIn(note, notesOfLastStream)) {
    sockets_->noteLastStream(connection_, *last);
  }
  if (const auto opened = numberIn(note, notesOfOpenedStream)) stream_ = *opened;
}

bool CurlTransfer::mustStartAgain() const {
  constexpr int mostAttempts = 4;
  return isUnheard_ && attempts_ < mostAttempts && Clock::now() < deadline_;
}

void CurlTransfer::leaveConnection(CURLcode result) {
  ++attempts_;
  hasEndedWell_ = result == CURLE_OK;
  const auto connection = std::exchange(connection_, nullptr);
  const bool isLeftOut = Sockets::wasLeftOut(connection, stream_) && headerBytes_ == 0;
  isUnheard_ =
      (result == CURLE_ABORTED_BY_CALLBACK && isStale_) || (result != CURLE_OK && isLeftOut);
  if (isUnheard_) isSent_ = false;
  if (result == CURLE_OPERATION_TIMEDOUT) {
    Sockets::leaveIfSilent(connection, receivedBefore_);
  }
  mayBeCut_ = !hasSharedConnection_ && Sockets::mayBeCut(connection);
  sockets_->endUse(connection);
  figures_ = takeFigures(connection != nullptr);
}

TransportFigures CurlTransfer::takeFigures(bool hadConnection) const {
  using std::chrono::microseconds;
  // libcurl's own counts leave out a body that is not sent together with its head, take the sending
  // of one for the first byte of the reply, and add up what it repeats by itself.
  const auto since = [this](Clock::time_point time) {
    return std::chrono::duration_cast<microseconds>(time - made_);
  };
  const long connects = longOf(easy_, CURLINFO_NUM_CONNECTS);
  const bool isReused = hadConnection && connects == 0;
  const bool isReplaced = hadConnection && (isRepeated_ || connects != connectsBefore_);
  const auto stepOf = [&](CURLINFO info) {
    curl_off_t value = 0;
    if (!isReused && !isReplaced) curl_easy_getinfo(easy_, info, &value);
    return value == 0 ? microseconds(0) : since(started_) + microseconds(value);
  };
  const auto protocol =
      std::ranges::find(protocols, longOf(easy_, CURLINFO_HTTP_VERSION), &Protocol::version);
  return {.queued = since(started_),
          .nameLookup = stepOf(CURLINFO_NAMELOOKUP_TIME_T),
          .connected = stepOf(CURLINFO_CONNECT_TIME_T),
          .tlsHandshake = stepOf(CURLINFO_APPCONNECT_TIME_T),
          .firstByte = since(firstByteAt_.value_or(made_)),
          .total = since(Clock::now()),
          .sentBytes = sentBytes_,
          .receivedBytes = headerBytes_ + body_.size(),
          .isConnectionReused = isReused,
          .protocol = protocol == protocols.end() ? "" : protocol->name};
}

std::size_t CurlTransfer::takeHeader(char* data, std::size_t size, std::size_t count, void* self) {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  const std::string_view line(data, size * count);
  transfer.sockets_->noteProgress();
  if (!transfer.firstByteAt_) transfer.firstByteAt_ = Clock::now();
  transfer.headerBytes_ += line.size();
  if (transfer.headerBytes_ > largestHeaders || ++transfer.headerLines_ > mostHeaderLines) {
    transfer.isTooLarge_ = true;
    return CURL_WRITEFUNC_ERROR;
  }
  if (transfer.hasAllHeaders_) return size * count;  // a trailer field: RFC 9110, section 6.5.1
  if (line.starts_with("HTTP/")) {                   // an interim response may have come before
    transfer.responseHeaders_.clear();
  } else if (const auto colon = line.find(':'); colon != line.npos) {
    const auto name = line.substr(0, colon);
    const auto value = trimmed(line.substr(colon + 1));
    const bool isTaken = hasMemoryFor([&] {
      transfer.responseHeaders_.reserve(16);  // few replies have more
      transfer.responseHeaders_.emplace_back(name, value);
    });
    if (!isTaken) return CURL_WRITEFUNC_ERROR;
  } else if (trimmed(line).empty()) {
    transfer.status_ = static_cast<int>(longOf(transfer.easy_, CURLINFO_RESPONSE_CODE));
    transfer.hasAllHeaders_ = transfer.status_ >= 200;
  }
  return size * count;
}

std::size_t CurlTransfer::takeBody(char* data, std::size_t size, std::size_t count, void* self) {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  transfer.sockets_->noteProgress();
  const auto most =
      transfer.request_.maxResponseBytes.value_or(transfer.network_->maxResponseBytes);
  if (size * count > most - transfer.body_.size()) {
    transfer.isTooLarge_ = true;
    return CURL_WRITEFUNC_ERROR;
  }
  const bool isTaken = hasMemoryFor([&] { transfer.body_.append(data, size * count); });
  return isTaken ? size * count : CURL_WRITEFUNC_ERROR;
}

PellixPlatform::Error CurlTransfer::errorFor(CURLcode result, long proxyStatus) const {
  // A header line beyond libcurl's own bound is "out of memory" in its words, since 8.6 "too
  // large".
  constexpr auto tooLarge = static_cast<CURLcode>(100);
  if (isTooLarge_ || result == tooLarge || (result == CURLE_OUT_OF_MEMORY && !hasAllHeaders_)) {
    return makeCoreError(CoreErrorCode::replyTooLarge);
  }
  if (result == CURLE_OK) {
    return makeCoreError(CoreErrorCode::connectionLost, "the header fields are not complete");
  }
  const bool mayHaveBeenHeard = request_.method == HttpMethod::post && isSent_;
  return curlFailure(result, detail_, proxyStatus, mayHaveBeenHeard);
}

std::optional<PellixPlatform::Error> CurlTransfer::faultOf(
    const PellixPlatform::HTTPURLResponse& response) const {
  const auto length = response.valueForHeaderField("Content-Length");
  // libcurl takes the last one, and what is no number for none.
  if (length && !isLength(*length)) {
    return makeCoreError(CoreErrorCode::malformedReply, "Content-Length");
  }
  const auto coding = response.valueForHeaderField("Transfer-Encoding");
  const bool hasEnd = coding ? isChunked(*coding) : length.has_value();
  const bool hasNoBody = status_ == 204 || status_ == 304;
  if (!mayBeCut_ || hasEnd || hasNoBody) return std::nullopt;
  return makeCoreError(CoreErrorCode::connectionLost, "TLS has not ended");
}

void CurlTransfer::finish(CURLcode result, long proxyStatus) {
  TransportReply reply;
  reply.figures = figures_;
  if (result == CURLE_OK && hasAllHeaders_) {
    auto response = std::make_shared<const PellixPlatform::HTTPURLResponse>(
        request_.url.string(), status_, std::move(responseHeaders_));
    reply.error = faultOf(*response);
    if (!reply.error) {
      reply.response = std::move(response);
      if (!body_.empty()) reply.data = std::move(body_);
    }
  } else {
    reply.error = errorFor(result, proxyStatus);
  }
  const auto completion = std::exchange(completion_, nullptr);
  completion(std::move(reply));
}

}  // namespace QuorvelCoreSDK
