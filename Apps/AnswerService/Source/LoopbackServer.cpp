#include "LoopbackServer.h"

#include "Connection.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <unistd.h>

#include <future>
#include <stdexcept>

namespace AnswerService {
namespace {

constexpr const char* kHost = "127.0.0.1";

/// Every open connection holds one thread, idle or not. Clients keep pools of idle connections,
/// and several clients may be at work at once; a fixed small pool would let them starve each
/// other.
constexpr std::size_t kThreads = 64;

/// Clients should find their idle connections still open. Neither limit costs anything here, as
/// shutDown() ends idle connections itself.
constexpr std::size_t kMostRequestsOnConnection = 10'000;
constexpr std::chrono::seconds kIdleTime(120);

constexpr std::chrono::seconds kIoTimeout(10);
constexpr std::size_t kLargestBody = 16UL * 1024 * 1024;

/// The HTTP layer's own backlog of 5 makes a burst of connections wait for a retry of the network.
constexpr int kBacklog = 256;

SSL_CTX* makeContext(const Certificate* certificate) {
  if (certificate == nullptr) return nullptr;
  SSL_CTX* const context = SSL_CTX_new(TLS_server_method());
  if (context == nullptr || SSL_CTX_use_certificate(context, certificate->certificate()) != 1 ||
      SSL_CTX_use_PrivateKey(context, certificate->key()) != 1) {
    SSL_CTX_free(context);
    throw std::runtime_error("TLS cannot be set up.");
  }
  SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
  return context;
}

/// Without SO_REUSEPORT, which the HTTP layer would set: with it, a second service on the same
/// port would start without an error and take half of the connections.
void reuseAddress(int fd) {
  const int on = 1;
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
}

/// A POST that announces no body has none; the HTTP layer would read until the client hangs up.
void assumeNoBody(httplib::Request& request) {
  if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) {
    request.set_header("Content-Length", "0");
  }
}

}  // namespace

LoopbackServer::LoopbackServer(const Certificate* certificate)
    : tls_(makeContext(certificate), &SSL_CTX_free) {
  set_tcp_nodelay(true);
  set_socket_options(reuseAddress);
  set_keep_alive_max_count(kMostRequestsOnConnection);
  set_keep_alive_timeout(kIdleTime.count());
  set_payload_max_length(kLargestBody);
}

LoopbackServer::~LoopbackServer() {
  shutDown();
}

int LoopbackServer::listenOn(int port) {
  const int bound = port == 0 ? bind_to_any_port(kHost) : bind_to_port(kHost, port) ? port : -1;
  if (bound <= 0) {
    throw std::runtime_error(
        fmt::format("Port {} of {} cannot be used: is it in use already?", port, kHost));
  }
  ::listen(svr_sock_, kBacklog);
  // stop() is without effect until the loop runs, and the pool is the first thing the loop makes.
  std::promise<void> looping;
  const std::future<void> loops = looping.get_future();
  new_task_queue = [&looping] {
    auto pool = std::make_unique<httplib::ThreadPool>(kThreads);
    looping.set_value();
    return pool.release();
  };
  thread_ = std::thread([this] { listen_after_bind(); });
  loops.wait();
  return bound;
}

void LoopbackServer::shutDown() {
  {
    const std::lock_guard lock(mutex_);
    closing_ = true;
    // Only what is read is cut off: an answer under way still reaches its client.
    for (const int fd : open_) ::shutdown(fd, SHUT_RD);
  }
  if (!thread_.joinable()) return;
  stop();
  thread_.join();
}

bool LoopbackServer::process_and_close_socket(socket_t fd) {
  if (!join(fd)) return false;
  serve(fd);
  leaveAndClose(fd);
  return true;
}

void LoopbackServer::serve(int fd) {
  Connection connection(fd, tls_.get(), kIoTimeout);
  if (!connection.handshake()) return;
  for (std::size_t left = keep_alive_max_count_; left > 0; --left) {
    if (!connection.waitForRequest(kIdleTime)) break;
    bool closed = false;
    if (!process_request(connection, left == 1, closed, assumeNoBody) || closed) break;
  }
  connection.sayGoodbye();
}

bool LoopbackServer::join(int fd) {
  const std::lock_guard lock(mutex_);
  if (closing_) {
    ::close(fd);
    return false;
  }
  open_.insert(fd);
  return true;
}

void LoopbackServer::leaveAndClose(int fd) {
  // Closed under the lock: the number may belong to another connection a moment later.
  const std::lock_guard lock(mutex_);
  open_.erase(fd);
  ::close(fd);
}

}  // namespace AnswerService
