#include "LoopbackServer.h"

#include "Connection.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace AnswerService {
namespace {

using std::chrono::steady_clock;

constexpr const char* host = "127.0.0.1";

/// Every open connection holds one thread, idle or not, and clients keep pools of them.
constexpr std::size_t threads = 64;

/// Clients should find their idle connections still open. Who drips a request has this long for
/// each byte, unless the place is needed.
constexpr std::chrono::seconds idleTime(120);

/// The HTTP layer's own backlog of 5 makes a burst of connections wait for a retry of the network.
constexpr int backlog = 256;

/// Before a request's body is read. False if it will not be.
bool prepare(httplib::Request& request) {
  // A few compressed bytes can become any amount of memory; so they stay as they are.
  if (request.headers.erase("Content-Encoding") > 0) request.set_header("Content-Encoding", "?");
  // Ranges that overlap can make an answer of any size; so it is sent whole.
  request.headers.erase("Range");
  request.ranges.clear();
  if (request.has_header("Content-Length") || request.has_header("Transfer-Encoding")) {
    // Of all others the HTTP layer leaves the body unread.
    constexpr std::string_view read[] = {"POST", "PUT", "PATCH", "DELETE"};
    return std::ranges::count(read, request.method) > 0;
  }
  // What announces no body has none; the HTTP layer would read until the client hangs up.
  request.set_header("Content-Length", "0");
  return true;
}

}  // namespace

struct LoopbackServer::Threads : httplib::TaskQueue {
  // Nothing, or in later versions whether there is room.
  using Enqueued = decltype(std::declval<TaskQueue&>().enqueue({}));

  explicit Threads(LoopbackServer& server) : server_(server) {}
  Enqueued enqueue(std::function<void()> connection) override {
    {
      const std::lock_guard lock(server_.mutex_);
      ++server_.waiting_;
      server_.makeRoom();
    }
    return pool_.enqueue(std::move(connection));
  }
  void shutdown() override { pool_.shutdown(); }

  LoopbackServer& server_;
  httplib::ThreadPool pool_{threads};
};

LoopbackServer::LoopbackServer(SSL_CTX* tls) : tls_(tls) {
  set_tcp_nodelay(true);
  // Without SO_REUSEPORT, which the HTTP layer would set: with it, a second service on the same
  // port would start without an error and take half of the connections.
  set_socket_options([](int fd) {
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  });
  set_read_timeout(idleTime);
  set_keep_alive_timeout(idleTime.count());  // what clients are told
  set_keep_alive_max_count(10'000);
}

LoopbackServer::~LoopbackServer() {
  {
    const std::lock_guard lock(mutex_);
    isClosing_ = true;
    // Only what is read is cut off: an answer under way still reaches its client.
    for (const auto& [fd, since] : open_) ::shutdown(fd, SHUT_RD);
  }
  if (!thread_.joinable()) return;
  stop();
  thread_.join();
}

int LoopbackServer::listenOn(int port) {
  const int bound = port == 0 ? bind_to_any_port(host) : bind_to_port(host, port) ? port : -1;
  if (bound <= 0) {
    throw std::runtime_error(
        fmt::format("Port {} of {} cannot be used: is it in use already?", port, host));
  }
  ::listen(svr_sock_, backlog);
  new_task_queue = [this] { return new Threads(*this); };
  thread_ = std::thread([this] { listen_after_bind(); });
  while (!is_running()) std::this_thread::yield();  // Until then, stop() is without effect.
  return bound;
}

void LoopbackServer::makeRoom() {
  while (!open_.empty() && open_.size() + waiting_ > threads) {
    const auto longest = std::ranges::min_element(open_, {}, &Open::value_type::second);
    ::shutdown(longest->first, SHUT_RDWR);
    open_.erase(longest);
  }
}

bool LoopbackServer::process_and_close_socket(socket_t fd) {
  {
    const std::lock_guard lock(mutex_);
    --waiting_;
    if (!isClosing_) open_[fd] = steady_clock::now();
    makeRoom();
  }
  serve(fd);
  // Closed under the lock: the number may belong to another connection a moment later.
  const std::lock_guard lock(mutex_);
  open_.erase(fd);
  ::close(fd);
  return true;
}

template <class... Arguments>
bool LoopbackServer::process(Connection& connection, Arguments&&... arguments) {
  if constexpr (requires { process_request(connection, arguments...); }) {
    return process_request(connection, arguments...);
  } else {  // later versions also ask who talks to whom
    std::string address = host;
    int port = 0;
    connection.get_local_ip_and_port(address, port);
    return process_request(connection, host, 0, address, port, arguments...);
  }
}

void LoopbackServer::serve(int fd) {
  Connection connection(fd, tls_);
  for (std::size_t left = keep_alive_max_count_; left > 0; --left) {
    {
      const std::lock_guard lock(mutex_);
      const auto found = open_.find(fd);
      if (found == open_.end()) return;
      found->second = steady_clock::now();
    }
    connection.expectRequest();
    bool isLast = false;
    bool isRead = false;
    const auto check = [&](httplib::Request& request) { isRead = prepare(request); };
    if (!process(connection, left == 1, isLast, check)) return;
    // What is left of one request must not be taken for the next.
    if (isLast || !isRead || !connection.isUsable()) return;
  }
}

}  // namespace AnswerService
