#include "LoopbackServer.h"

#include "Support/TemporaryDirectory.h"

#include <linux/sockios.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

namespace Support {

using Then = LoopbackReply::Then;

struct LoopbackServer::Connection {
  int socket;
  std::size_t number;
  bool isOpen = true;
  bool sendsMore = false;
  std::unique_ptr<SSL, decltype(&SSL_free)> tls{nullptr, SSL_free};
  std::thread thread;

  /// Until the system of the other side has all that was written.
  void waitUntilArrived() const {
    int left = 0;
    while (ioctl(socket, SIOCOUTQ, &left) == 0 && left > 0) std::this_thread::yield();
  }

  /// Adds what comes next to `received`; false at the end.
  bool read(std::string& received) const {
    std::array<char, 16384> buffer{};
    const auto count = tls ? SSL_read(tls.get(), buffer.data(), static_cast<int>(buffer.size()))
                           : recv(socket, buffer.data(), buffer.size(), 0);
    if (count <= 0) return false;
    received.append(buffer.data(), static_cast<std::size_t>(count));
    return true;
  }

  [[nodiscard]] bool write(std::string_view bytes) const {
    while (!bytes.empty()) {
      const auto count = tls ? SSL_write(tls.get(), bytes.data(), static_cast<int>(bytes.size()))
                             : send(socket, bytes.data(), bytes.size(), 0);
      if (count <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
  }
};

namespace {

std::shared_ptr<SSL_CTX> makeContext(const LoopbackIdentity& identity, bool isOlder) {
  const TemporaryDirectory directory;
  directory.write("both.pem", identity.certificate + identity.key);
  const auto file = (directory.path() / "both.pem").string();
  const std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
  if (SSL_CTX_use_certificate_file(context.get(), file.c_str(), SSL_FILETYPE_PEM) != 1 ||
      SSL_CTX_use_PrivateKey_file(context.get(), file.c_str(), SSL_FILETYPE_PEM) != 1) {
    throw std::runtime_error("no identity for the server");
  }
  if (isOlder) {
    SSL_CTX_set_max_proto_version(context.get(), TLS1_2_VERSION);
    SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
  }
  return context;
}

std::size_t contentLength(const std::string& head) {
  const std::string name = "\r\nContent-Length: ";
  const auto field = head.find(name);
  return field == head.npos ? 0 : std::stoul(head.substr(field + name.size()));
}

}  // namespace

Then thenIn(std::string_view words) {
  using enum Then;
  for (const auto& [name, then] :
       {std::pair("close", close), {"reset", reset}, {"stall", stall}, {"repeat", repeat}}) {
    if (words.contains(name)) return then;
  }
  return keep;
}

std::string httpReply(std::string_view status, std::string_view body, std::string_view fields) {
  std::string reply("HTTP/1.1 ");
  reply.append(status).append("\r\n").append(fields);
  reply.append("Content-Length: ").append(std::to_string(body.size())).append("\r\n\r\n");
  return reply.append(body);
}

LoopbackServer::LoopbackServer(Handler handler, Options options)
    : handler_(std::move(handler)),
      options_(std::move(options)),
      tls_(options_.identity ? makeContext(*options_.identity, options_.isOlder) : nullptr) {
  const addrinfo hints{.ai_flags = AI_NUMERICHOST, .ai_socktype = SOCK_STREAM};
  addrinfo* found = nullptr;
  getaddrinfo(options_.isIPv6 ? "::1" : "127.0.0.1", "0", &hints, &found);
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> address(found, freeaddrinfo);
  listener_ = socket(address->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int shared = 1;  // with a deaf one, and with what is left of earlier connections
  setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &shared, sizeof shared);
  if (options_.isNarrow) {
    const int little = 2048;
    const int segment = 536;
    setsockopt(listener_, SOL_SOCKET, SO_RCVBUF, &little, sizeof little);
    setsockopt(listener_, IPPROTO_TCP, TCP_MAXSEG, &segment, sizeof segment);
  }
  char port[8];
  if (bind(listener_, address->ai_addr, address->ai_addrlen) != 0 ||
      getsockname(listener_, address->ai_addr, &address->ai_addrlen) != 0 ||
      getnameinfo(address->ai_addr, address->ai_addrlen, nullptr, 0, port, sizeof port,
                  NI_NUMERICSERV) != 0) {
    throw std::runtime_error("no port of loopback could be had");
  }
  port_ = static_cast<std::uint16_t>(std::stoi(port));
  if (options_.isDeaf) return;
  listen(listener_, options_.isFull ? 0 : SOMAXCONN);
  if (options_.isFull) {
    filler_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    static_cast<void>(connect(filler_, address->ai_addr, address->ai_addrlen));
    return;
  }
  acceptor_ = std::thread([this] { accept(); });
}

LoopbackServer::~LoopbackServer() {
  shutdown(listener_, SHUT_RDWR);
  if (acceptor_.joinable()) acceptor_.join();
  {
    const std::lock_guard lock(mutex_);
    for (const auto& connection : connections_) {
      if (connection.isOpen) shutdown(connection.socket, SHUT_RDWR);
    }
  }
  for (auto& connection : connections_) connection.thread.join();
  close(listener_);
  if (filler_ >= 0) close(filler_);
}

std::string LoopbackServer::origin(std::string_view host) const {
  std::string result(options_.identity && !options_.isProxy ? "https://" : "http://");
  result.append(!host.empty() ? host : options_.isIPv6 ? "[::1]" : "127.0.0.1");
  return result.append(":").append(std::to_string(port_));
}

std::vector<LoopbackRequest> LoopbackServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

std::size_t LoopbackServer::connections() const {
  const std::lock_guard lock(mutex_);
  return accepted_;
}

std::size_t LoopbackServer::resumptions() const {
  const std::lock_guard lock(mutex_);
  return resumed_;
}

void LoopbackServer::accept() {
  while (true) {
    const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0) return;
    const std::lock_guard lock(mutex_);
    connections_.remove_if([](auto& each) {  // whose threads have nothing left to do
      if (!each.isOpen) each.thread.join();
      return !each.isOpen;
    });
    auto& connection =
        connections_.emplace_back(Connection{.socket = socket, .number = accepted_++});
    connection.thread = std::thread([this, &connection] { serve(connection); });
  }
}

void LoopbackServer::serve(Connection& connection) {
  sigset_t brokenPipe;  // writing to a peer that has gone is a failure like others
  sigemptyset(&brokenPipe);
  sigaddset(&brokenPipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);

  std::string received;
  bool goesOn = !options_.isProxy || answer(connection, received);
  if (tls_ && goesOn) {
    connection.tls.reset(SSL_new(tls_.get()));
    SSL_set_fd(connection.tls.get(), connection.socket);
    goesOn = SSL_accept(connection.tls.get()) == 1;
    const std::lock_guard lock(mutex_);
    if (goesOn && SSL_session_reused(connection.tls.get()) == 1) ++resumed_;
  }
  while (goesOn) goesOn = answer(connection, received);
  connection.tls.reset();

  const std::lock_guard lock(mutex_);
  connection.isOpen = false;
  close(connection.socket);
}

/// Whether the connection goes on.
bool LoopbackServer::answer(Connection& connection, std::string& received) {
  LoopbackRequest request{.connection = connection.number, .head = {}, .body = {}};
  if (!options_.answersUnasked && !connection.sendsMore) {
    std::size_t headEnd = 0;
    while ((headEnd = received.find("\r\n\r\n")) == received.npos) {
      if (!connection.read(received)) return false;
    }
    request.head = received.substr(0, headEnd + 2);
    const auto end = headEnd + 4 + contentLength(request.head);
    while (received.size() < end) {
      if (!connection.read(received)) return false;
    }
    request.body = received.substr(headEnd + 4, end - headEnd - 4);
    received.erase(0, end);
    const std::lock_guard lock(mutex_);
    if (options_.keepsRequests) requests_.push_back(request);
  }
  const auto reply = handler_(request);
  bool goesOn = connection.write(reply.bytes);
  if (reply.then == Then::close) shutdown(connection.socket, SHUT_WR);
  if (reply.then == Then::close || reply.then == Then::stall) {
    while (connection.read(received)) {  // until the peer has had enough
    }
  }
  while (reply.then == Then::repeat && goesOn) goesOn = connection.write(reply.bytes);
  if (reply.then == Then::reset) {
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    setsockopt(connection.socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
  }
  connection.sendsMore = reply.then == Then::more;
  if (connection.sendsMore) connection.waitUntilArrived();
  return goesOn && (reply.then == Then::keep || connection.sendsMore);
}

}  // namespace Support
