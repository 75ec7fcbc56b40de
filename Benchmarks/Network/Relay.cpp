#include "Network/Relay.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>

namespace Benchmarks {
namespace {

int checked(int result) {
  if (result < 0) throw std::system_error(errno, std::generic_category());
  return result;
}

int makeSocket(int flags) {
  return checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
}

sockaddr_in loopback(std::uint16_t port) {
  return {.sin_family = AF_INET,
          .sin_port = htons(port),
          .sin_addr = {.s_addr = htonl(INADDR_LOOPBACK)},
          .sin_zero = {}};
}

void sendAtOnce(int socket) {
  const int on = 1;
  checked(::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on));
}

void sendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0) return;  // nobody is there any more, which the other way is about to tell
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

}  // namespace

Relay::Relay(std::uint16_t serverPort, Distance distance)
    : serverPort_(serverPort),
      distance_(distance),
      watch_(checked(::epoll_create1(EPOLL_CLOEXEC))),
      timer_(checked(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC))),
      listener_(makeSocket(SOCK_NONBLOCK)) {
  auto address = loopback(0);
  socklen_t size = sizeof address;
  auto* const general = reinterpret_cast<sockaddr*>(&address);
  checked(::bind(listener_, general, size));
  checked(::listen(listener_, SOMAXCONN));
  checked(::getsockname(listener_, general, &size));
  port_ = ntohs(address.sin_port);
  watch(timer_, nullptr);
  watch(listener_, nullptr);
  thread_ = std::thread([this] { run(); });
}

Relay::~Relay() {
  isStopping_ = true;
  ::shutdown(listener_, SHUT_RDWR);  // which wakes the thread
  thread_.join();
  for (const auto& [up, down] : live_) {
    ::close(up.from);
    ::close(down.from);
  }
  for (const int descriptor : {listener_, timer_, watch_}) ::close(descriptor);
}

void Relay::waitUntilClosed() const {
  while (const int open = open_) open_.wait(open);
}

void Relay::run() {
  while (!isStopping_) {
    std::array<epoll_event, 16> events{};
    const int count = ::epoll_wait(watch_, events.data(), static_cast<int>(events.size()), -1);
    for (int i = 0; i < count; ++i) {
      const auto& event = events[static_cast<std::size_t>(i)];
      if (event.data.ptr) read(*static_cast<Way*>(event.data.ptr));
    }
    accept();
    auto next = Clock::time_point::max();
    for (auto& connection : live_) {
      for (auto& way : connection) {
        deliver(way);
        if (!way.pieces.empty()) next = std::min(next, way.pieces.front().due);
      }
    }
    waitUntil(next);
    forgetEnded();
  }
}

void Relay::watch(int descriptor, Way* way) const {
  epoll_event readable{.events = EPOLLIN, .data = {.ptr = way}};
  checked(::epoll_ctl(watch_, EPOLL_CTL_ADD, descriptor, &readable));
}

void Relay::accept() {
  const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
  if (client < 0) return;  // perhaps there is another one next time: the listener stays readable
  const int server = makeSocket(0);
  const auto address = loopback(serverPort_);
  checked(::connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address));
  sendAtOnce(client);
  sendAtOnce(server);
  const auto now = Clock::now();
  auto& [up, down] = live_.emplace_back(
      Connection{Way{.from = client, .to = server, .line = up_, .opens = now + distance_.roundTrip},
                 Way{.from = server, .to = client, .line = down_, .opens = now}});
  watch(client, &up);
  watch(server, &down);
  ++open_;
}

void Relay::read(Way& way) {
  std::array<char, 16384> buffer{};
  const auto count = std::max<ssize_t>(::recv(way.from, buffer.data(), buffer.size(), 0), 0);
  std::string bytes(buffer.data(), static_cast<std::size_t>(count));
  if (bytes.empty()) checked(::epoll_ctl(watch_, EPOLL_CTL_DEL, way.from, nullptr));
  const std::chrono::duration<double> carrying(static_cast<double>(bytes.size()) /
                                               distance_.bytesPerSecond);
  way.line.freeAt = std::max(Clock::now(), way.line.freeAt) +
                    std::chrono::duration_cast<Clock::duration>(carrying);
  way.pieces.push_back(
      {std::max(way.line.freeAt, way.opens) + distance_.roundTrip / 2, std::move(bytes)});
}

void Relay::deliver(Way& way) {
  for (; !way.pieces.empty() && way.pieces.front().due <= Clock::now(); way.pieces.pop_front()) {
    const auto& bytes = way.pieces.front().bytes;
    sendAll(way.to, bytes);
    if (!bytes.empty()) continue;
    ::shutdown(way.to, SHUT_WR);
    way.hasEnded = true;
  }
}

void Relay::waitUntil(Clock::time_point due) const {
  using namespace std::chrono;
  itimerspec alarm{};  // all zero: none
  if (due != Clock::time_point::max()) {
    const auto since = due.time_since_epoch();
    const auto whole = duration_cast<seconds>(since);
    alarm.it_value = {.tv_sec = whole.count(), .tv_nsec = nanoseconds(since - whole).count()};
  }
  checked(::timerfd_settime(timer_, TFD_TIMER_ABSTIME, &alarm, nullptr));
}

void Relay::forgetEnded() {
  const auto before = live_.size();
  std::erase_if(live_, [](const Connection& connection) {
    const auto& [up, down] = connection;
    if (!up.hasEnded || !down.hasEnded) return false;
    ::close(up.from);
    ::close(down.from);
    return true;
  });
  if (live_.size() == before) return;
  open_ -= static_cast<int>(before - live_.size());
  open_.notify_all();
}

}  // namespace Benchmarks
