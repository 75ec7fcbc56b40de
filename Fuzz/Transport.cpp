// What the transport makes of a server's bytes, from the status line to the trailers.
// The input is a digit for how they are sent, one for what the server does then, and the bytes.

#include "Fuzz.h"
#include "Support/LoopbackIdentity.h"
#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/URLResponse.h>
#include <QuorvelCoreSDK/Configuration.h>
#include <QuorvelCoreSDK/CoreError.h>

#include <arpa/inet.h>
#include <curl/curl.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <list>
#include <memory>
#include <set>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Fuzz::require;
using QuorvelCoreSDK::TransportReply;

constexpr std::size_t mostBytes = 256;
constexpr std::string_view question = "{}";

/// How the bytes are sent: the first digit; five more stand for a POST instead of a GET.
enum class Way : std::uint8_t { http, https, http2, http2Frames, insteadOfTls };
/// What the server does then: the second digit. Asked twice, it answers twice.
enum class Then : std::uint8_t { close, reset, stall, isAskedTwice, repeat };

struct Script {
  Way way;
  bool isPost;
  Then then;
  std::string_view bytes;
};

Script scriptOf(std::string_view text) {
  Fuzz::Input input(text.substr(0, 2));
  const auto digit = [&input](unsigned most) {
    return static_cast<std::uint8_t>((input.byte() - '0') & 0xFF) % most;
  };
  const auto way = digit(10);
  return {.way = Way(way % 5),
          .isPost = way >= 5,
          .then = Then(digit(5)),
          .bytes = text.substr(std::min<std::size_t>(2, text.size()))};
}

/// The bytes until they are more than every limit allows.
std::string repeated(std::string_view bytes) {
  constexpr std::size_t enough = 300'000;
  std::string all;
  while (!bytes.empty() && all.size() < enough) all += bytes;
  return all;
}

/// Frames for a request's stream (RFC 9113, section 4.1) out of type, flags, stream and length, a
/// byte each, and the payload. Stream 1 is the request's, whichever that is.
std::string framesFor(char stream, std::string_view bytes) {
  std::string frames;
  for (constexpr std::size_t head = 4; bytes.size() >= head;) {
    const auto payload = bytes.substr(head, static_cast<std::uint8_t>(bytes[3]));
    frames.append({0, 0, static_cast<char>(payload.size()), bytes[0], bytes[1], 0, 0, 0});
    frames += bytes[2] == 1 ? stream : bytes[2];
    frames += payload;
    bytes.remove_prefix(head + payload.size());
  }
  return frames;
}

/// Takes a request off what has come over HTTP/2: its stream, or nothing if it is not whole yet.
std::optional<char> takeStream(std::string& received) {
  constexpr std::size_t preface = 24;
  constexpr std::size_t head = 9;
  if (received.starts_with("PRI") && received.size() >= preface) received.erase(0, preface);
  while (received.size() >= head) {
    const auto byteAt = [&](std::size_t at) { return static_cast<std::uint8_t>(received[at]); };
    const std::size_t size = head + (std::size_t{byteAt(1)} << 8) + byteAt(2);
    if (received.size() < size) break;
    const bool isLast = byteAt(3) <= 1 && (byteAt(4) & 1) != 0;  // of a head or a body
    const char stream = received[head - 1];
    received.erase(0, size);
    if (isLast) return stream;
  }
  return std::nullopt;
}

/// The addresses take turns, so that an input meets none of the connections of the one before.
constexpr int mostAddresses = 16;

std::string addressOf(int number) {
  return "127.0.0." + std::to_string(2 + number);
}

/// The server's side of TLS, and the file that makes clients trust it.
struct Identity {
  Identity() {
    std::string names;
    for (int i = 0; i < mostAddresses; ++i) names += (i == 0 ? "IP:" : ",IP:") + addressOf(i);
    const auto identity = Support::makeIdentity({.names = names});
    directory.write("trusted.pem", identity.certificate + identity.key);
    SSL_CTX_use_certificate_file(context.get(), trusted.c_str(), SSL_FILETYPE_PEM);
    SSL_CTX_use_PrivateKey_file(context.get(), trusted.c_str(), SSL_FILETYPE_PEM);
  }

  const Support::TemporaryDirectory directory;
  const std::string trusted = directory.path() / "trusted.pem";
  const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context{SSL_CTX_new(TLS_server_method()),
                                                                  SSL_CTX_free};
};

int selectHttp2(SSL*, const unsigned char** chosen, unsigned char* length, const unsigned char*,
                unsigned, void* script) {
  const auto way = static_cast<const Script*>(script)->way;
  if (way != Way::http2 && way != Way::http2Frames) return SSL_TLSEXT_ERR_NOACK;
  *chosen = reinterpret_cast<const unsigned char*>("h2");
  *length = 2;
  return SSL_TLSEXT_ERR_OK;
}

/// One connection, which is reset in the end, so that its port is free again at once.
class Connection {
 public:
  Connection(int socket, const Script& script, SSL_CTX* tls) : socket_(socket), script_(script) {
    constexpr timeval longest{.tv_sec = 1};
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof longest);
    if (script.way == Way::http || script.way == Way::insteadOfTls) return;
    tls_.reset(SSL_new(tls));
    SSL_set_fd(tls_.get(), socket);
    SSL_set_accept_state(tls_.get());
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() {
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    close(socket_);
  }

  [[nodiscard]] int socket() const { return socket_; }

  /// Reads what has come, and answers what is whole of it; false if that was all.
  [[nodiscard]] bool goOn() {
    char buffer[4096];
    const auto count = tls_ ? SSL_read(tls_.get(), buffer, sizeof buffer)
                            : static_cast<int>(recv(socket_, buffer, sizeof buffer, 0));
    if (count <= 0) return false;
    received_.append(buffer, static_cast<std::size_t>(count));
    while (const auto stream = takeRequest()) {
      answer(*stream);
      if (script_.then == Then::stall || script_.then == Then::isAskedTwice) continue;
      if (tls_) SSL_shutdown(tls_.get());
      shutdown(socket_, SHUT_WR);
      return script_.then != Then::reset;
    }
    return true;
  }

 private:
  std::optional<char> takeRequest() {
    if (script_.way == Way::http2 || script_.way == Way::http2Frames) return takeStream(received_);
    auto size = received_.find("\r\n\r\n");
    if (size != received_.npos) size += 4 + (script_.isPost ? question.size() : 0);
    if (script_.way == Way::insteadOfTls) size = received_.size();
    if (size > received_.size() || received_.empty()) return std::nullopt;
    received_.erase(0, size);
    return 0;
  }

  void answer(char stream) {
    std::string bytes(script_.bytes);
    if (script_.way == Way::http2Frames) bytes = framesFor(stream, bytes);
    if (script_.then == Then::repeat) bytes = repeated(bytes);
    constexpr std::string_view settings("\0\0\0\4\0\0\0\0\0", 9);  // come first
    if (script_.way == Way::http2Frames && !hasAnswered_) bytes.insert(0, settings);
    hasAnswered_ = true;
    write(bytes);
  }

  void write(std::string_view bytes) {
    const auto size = bytes.size();
    if (size == 0) return;
    // What is not taken any more is missing to nobody.
    tls_ ? SSL_write(tls_.get(), bytes.data(), static_cast<int>(size))
         : send(socket_, bytes.data(), size, 0);
  }

  const int socket_;
  const Script& script_;
  std::unique_ptr<SSL, decltype(&SSL_free)> tls_{nullptr, SSL_free};
  std::string received_;
  bool hasAnswered_ = false;
};

/// Listens on each of the addresses. Everything of it runs on the target's own thread.
class Server {
 public:
  Server() {
    for (int i = 0; i < mostAddresses; ++i) {
      sockaddr_in address{.sin_family = AF_INET};
      inet_pton(AF_INET, addressOf(i).c_str(), &address.sin_addr);
      socklen_t size = sizeof address;
      auto* const any = reinterpret_cast<sockaddr*>(&address);
      const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
      require(bind(listener, any, size) == 0 && listen(listener, SOMAXCONN) == 0 &&
                  getsockname(listener, any, &size) == 0,
              "loopback has room for a server");
      places_.push_back({listener, addressOf(i) + ":" + std::to_string(ntohs(address.sin_port))});
    }
    SSL_CTX_set_alpn_select_cb(identity_.context.get(), selectHttp2, &script_);
    std::signal(SIGPIPE, SIG_IGN);
  }

  [[nodiscard]] const std::string& trusted() const { return identity_.trusted; }

  /// What the next `run` does, and where.
  PellixPlatform::URL begin(const Script& script) {
    script_ = script;
    next_ = (next_ + 1) % places_.size();
    const std::string scheme = script.way == Way::http ? "http://" : "https://";
    return PellixPlatform::URL::parse(scheme + places_[next_].authority + "/").value();
  }

  /// Until `wake` is called so many times.
  void run(std::uint64_t wakes) {
    constexpr int longest = 30'000;  // milliseconds without anything; all limits are far shorter
    std::list<Connection> connections;
    while (true) {
      std::vector<pollfd> watched{{wake_, POLLIN, 0}, {places_[next_].listener, POLLIN, 0}};
      for (const auto& each : connections) watched.push_back({each.socket(), POLLIN, 0});
      int ready = 0;
      do {
        ready = poll(watched.data(), watched.size(), longest);
      } while (ready < 0 && errno == EINTR);  // by libFuzzer's own timer
      require(ready > 0, "every request ends");
      std::uint64_t count = 0;
      if (watched[0].revents != 0) require(::read(wake_, &count, sizeof count) > 0, "wakes come");
      wakes -= std::min(count, wakes);
      if (wakes == 0) return;
      auto at = watched.begin() + 2;
      for (auto each = connections.begin(); each != connections.end(); ++at) {
        const auto connection = each++;
        if (at->revents != 0 && !connection->goOn()) connections.erase(connection);
      }
      if (watched[1].revents == 0) continue;
      const int socket = accept4(places_[next_].listener, nullptr, nullptr, SOCK_CLOEXEC);
      if (socket >= 0) connections.emplace_back(socket, script_, identity_.context.get());
    }
  }

  /// From any thread.
  void wake() const {
    constexpr std::uint64_t one = 1;
    require(::write(wake_, &one, sizeof one) > 0, "wakes go");
  }

 private:
  struct Place {
    int listener;
    std::string authority;
  };

  const Identity identity_;
  std::vector<Place> places_;
  std::size_t next_ = 0;
  Script script_{};
  const int wake_ = eventfd(0, EFD_CLOEXEC);
};

/// Whether all of `part` stands in `whole` in its order, perhaps with something between.
bool isWithin(std::string_view part, std::string_view whole) {
  for (const char c : whole) {
    if (part.empty()) break;
    if (part.front() == c) part.remove_prefix(1);
  }
  return part.empty();
}

std::vector<std::string> wordsOf(std::string_view text) {
  std::vector<std::string> words(1);
  for (const char c : text) {
    const bool isInWord = std::isalnum(static_cast<unsigned char>(c)) != 0;
    if (isInWord) words.back() += c;
    if (!isInWord && !words.back().empty()) words.emplace_back();
  }
  return words;
}

/// Every word that libcurl, OpenSSL and the system have of their own for what goes wrong here.
std::set<std::string> ownWords() {
  std::string text =
      "Operation timed out after milliseconds with bytes received out of Connection timeout ms "
      "SSL connection timeout Empty reply from server Recv Send failure transfer closed with "
      "remaining to read outstanding read data end of response missing malformed chunks Received "
      "HTTP when not allowed Invalid Content Length value Unsupported HTTP version in response "
      "subversion stream was closed cleanly before underlying connection err the request is not "
      "sent second time header fields are complete OpenSSL TLS connect error routines errno "
      "SSL_connect SSL_read SSL_write NO_ERROR PROTOCOL_ERROR INTERNAL_ERROR FLOW_CONTROL_ERROR "
      "SETTINGS_TIMEOUT STREAM_CLOSED FRAME_SIZE_ERROR REFUSED_STREAM CANCEL COMPRESSION_ERROR "
      "CONNECT_ERROR ENHANCE_YOUR_CALM INADEQUATE_SECURITY HTTP_1_1_REQUIRED unknown ";
  for (int i = 0; i <= CURL_LAST; ++i) {
    text.append(curl_easy_strerror(static_cast<CURLcode>(i))).append(" ");
  }
  constexpr int mostNumbers = 134;  // of Linux
  for (int i = 0; i < mostNumbers; ++i) text.append(std::strerror(i)).append(" ");
  constexpr unsigned long mostReasons = 4096;
  for (unsigned long i = 1; i < mostReasons; ++i) {
    const char* const reason = ERR_reason_error_string(ERR_PACK(ERR_LIB_SSL, 0, i));
    if (reason) text.append(reason).append(" ");
  }
  const auto words = wordsOf(text);
  return {words.begin(), words.end()};
}

void checkError(const PellixPlatform::Error& error) {
  using QuorvelCoreSDK::CoreErrorCode;
  static const auto known = ownWords();
  require(error.domain() == QuorvelCoreSDK::CoreErrorDomain, "an error is the core's");
  const auto sentence = QuorvelCoreSDK::sentenceOf(CoreErrorCode{error.code()});
  const auto text = error.localizedDescription();
  require(!sentence.empty() && text.starts_with(sentence), "an error has its sentence");
  for (const auto& word : wordsOf(std::string_view(text).substr(sentence.size()))) {
    const bool isNumber = word.find_first_not_of("0123456789ABCDEF") == word.npos;
    if (known.contains(word) || isNumber) continue;
    std::fprintf(stderr, "%s\n", text.c_str());
    require(false, "no word of the server's stands in an error");
  }
}

void checkResponse(const TransportReply& reply, const Script& script) {
  const auto* const response =
      dynamic_cast<const PellixPlatform::HTTPURLResponse*>(reply.response.get());
  require(response && 200 <= response->statusCode() && response->statusCode() <= 999,
          "a response is a final one");
  const bool isPlain = script.way == Way::http || script.way == Way::https;
  for (const auto& [name, value] : response->allHeaderFields()) {
    require(!isPlain || script.bytes.contains(name), "a header field is the server's");
  }
  if (!reply.data) return;
  require(!reply.data->empty() && reply.data->size() <= mostBytes, "a body is within its limit");
  std::string sent(script.bytes);
  sent += script.then == Then::repeat ? repeated(sent) : sent;  // as it may have been asked twice
  const bool isCoded = script.bytes.contains("ncoding");        // then that is undone
  require(isCoded || isWithin(*reply.data, sent), "a body is the server's");
}

void checkFigures(const QuorvelCoreSDK::TransportFigures& figures, const TransportReply& reply) {
  std::string steps;
  std::chrono::microseconds latest{};
  bool follow = true;
  for (const auto step : {figures.queued, figures.nameLookup, figures.connected,
                          figures.tlsHandshake, figures.firstByte, figures.total}) {
    follow = follow && (step == 0us || latest <= step);
    latest = std::max(latest, step);
    steps += " " + std::to_string(step.count());
  }
  if (!follow) std::fprintf(stderr, "Steps:%s\n", steps.c_str());  // they don't come again
  require(follow, "steps follow each other");
  require(!reply.data || reply.data->size() < figures.receivedBytes, "all bytes are counted");
}

/// Asks, as often as the script says, and looks at what comes.
void check(const Script& script) {
  static Server server;
  static const auto transport =
      QuorvelCoreSDK::makeTransport({.ignoreProxyEnvironment = true,
                                     .certificateAuthorities = server.trusted(),
                                     .maxResponseBytes = mostBytes})
          .value();
  const auto url = server.begin(script);
  const bool isLeftOpen = script.then == Then::stall || script.then == Then::isAskedTwice;
  const auto limit = isLeftOpen ? 50ms : 2000ms;
  const std::size_t count = script.then == Then::isAskedTwice ? 2 : 1;
  std::vector<TransportReply> replies;
  for (std::size_t i = 0; i < count; ++i) {
    transport->send(
        {.method =
             script.isPost ? QuorvelCoreSDK::HttpMethod::post : QuorvelCoreSDK::HttpMethod::get,
         .url = url,
         .headers = {},
         .body = script.isPost ? std::optional<PellixPlatform::Data>(question) : std::nullopt,
         .requestTimeout = limit,
         .maxResponseBytes = std::nullopt,
         .waitsForConnection = i > 0},
        [&replies](TransportReply reply) {
          replies.push_back(std::move(reply));
          server.wake();
        });
  }
  server.run(count);
  transport->post([] { server.wake(); });  // behind all that it still has to do
  server.run(1);
  require(replies.size() == count, "a request ends once");
  for (const auto& reply : replies) {
    require(static_cast<bool>(reply.response) != reply.error.has_value(),
            "a request ends in a response or an error");
    if (reply.error) checkError(*reply.error);
    if (reply.response) checkResponse(reply, script);
    if (reply.figures) checkFigures(*reply.figures, reply);
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  check(scriptOf(Fuzz::textOf(data, size)));
  return 0;
}
