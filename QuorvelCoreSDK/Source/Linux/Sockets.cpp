#include "../Sockets.h"

#include "../TlsContext.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <limits>
#include <new>
#include <system_error>

namespace QuorvelCoreSDK {
namespace {

/// How long sent data may stay without an acknowledgement: RFC 5482.
constexpr unsigned int unacknowledged = 15'000;  // milliseconds

/// Whether something has come over the socket, or the other side has closed it: POLLIN, POLLRDHUP.
int stateOf(int socket) {
  pollfd state{.fd = socket, .events = POLLIN | POLLRDHUP, .revents = 0};
  return ::poll(&state, 1, 0) > 0 ? state.revents : 0;
}

bool hasPeerClosed(int socket) {
  return (stateOf(socket) & POLLRDHUP) != 0;
}

bool isInternet(int family) {
  return family == AF_INET || family == AF_INET6;
}

/// The port of one of a socket's ends (0: it has none yet), and its text if that is asked for.
int portOf(int (*end)(int, sockaddr*, socklen_t*), int socket,
           std::array<char, INET6_ADDRSTRLEN>* text) {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  end(socket, reinterpret_cast<sockaddr*>(&address), &size);
  const void* host = nullptr;
  in_port_t port = 0;
  if (address.ss_family == AF_INET) {
    const auto& internet = reinterpret_cast<const sockaddr_in&>(address);
    host = &internet.sin_addr;
    port = internet.sin_port;
  } else if (address.ss_family == AF_INET6) {
    const auto& internet = reinterpret_cast<const sockaddr_in6&>(address);
    host = &internet.sin6_addr;
    port = internet.sin6_port;
  }
  if (host && text)
    ::inet_ntop(address.ss_family, host, text->data(), static_cast<socklen_t>(text->size()));
  return ntohs(port);
}

}  // namespace

Sockets::Sockets()
    : watch_(::epoll_create1(EPOLL_CLOEXEC)), wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  int ends[2] = {-1, -1};
  // Whoever wakes adds to a counter that nobody reads: each addition is an event of its own.
  epoll_event woken{.events = EPOLLIN | EPOLLET, .data = {.fd = wake_}};
  if (watch_ >= 0 && wake_ >= 0 && ::epoll_ctl(watch_, EPOLL_CTL_ADD, wake_, &woken) == 0) {
    ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends);
  }
  if (ends[0] < 0) {
    const std::system_error failure(errno, std::generic_category());
    for (const int descriptor : {watch_, wake_}) ::close(descriptor);  // no effect if there is none
    throw failure;
  }
  ended_ = ends[0];
  otherEnd_ = ends[1];
  ::shutdown(otherEnd_, SHUT_WR);
}

Sockets::~Sockets() {
  for (const int descriptor : {watch_, wake_, ended_, otherEnd_}) ::close(descriptor);
}

struct Sockets::Socket {
  int descriptor = -1;  // -1: libcurl has closed it
  std::size_t uses = 0;
  bool wasUsed = false;  // so that a handshake is under way no more
  bool isMultiplexed = false;
  bool isClosedByPeer = false;
  bool isReplaced = false;  // by `ended_`
  bool hasBroken = false;   // as far as is known without a look
  void* tls = nullptr;
  std::int64_t lastStream = std::numeric_limits<std::int64_t>::max();
  int localPort = 0;
  int peerPort = 0;
  std::array<char, INET6_ADDRSTRLEN> peer{};
};

int Sockets::open(int family, int type, int protocol) {
  const int descriptor = ::socket(family, type | SOCK_CLOEXEC, protocol);
  if (descriptor < 0) return -1;
  try {
    sockets_[descriptor] = std::make_shared<Socket>(Socket{.descriptor = descriptor});
  } catch (const std::bad_alloc&) {
    ::close(descriptor);
    return -1;
  }
  // Without these two, a closed or dead connection is only noticed later.
  if (isInternet(family)) {
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT, &unacknowledged, sizeof unacknowledged);
  }
  epoll_event closing{.events = EPOLLRDHUP | EPOLLET, .data = {.fd = descriptor}};
  ::epoll_ctl(watch_, EPOLL_CTL_ADD, descriptor, &closing);
  return descriptor;
}

void Sockets::close(int descriptor) {
  if (const auto found = sockets_.find(descriptor); found != sockets_.end()) {
    auto& socket = *found->second;
    socket.hasBroken = socket.hasBroken || hasPeerClosed(descriptor);
    socket.descriptor = -1;
    sockets_.erase(found);
  }
  ::close(descriptor);
}

Sockets::Use Sockets::find(const Route& route) {
  Use found;
  for (const auto& [descriptor, socket] : sockets_) {
    if (socket->peerPort == 0) {
      socket->localPort = portOf(::getsockname, descriptor, nullptr);
      socket->peerPort = portOf(::getpeername, descriptor, &socket->peer);
    }
    if (socket->localPort == route.localPort && socket->peerPort == route.peerPort &&
        route.peer == socket->peer.data() && (!found || socket->isReplaced)) {
      found = socket;  // a port that is in use anew may belong to two, for libcurl
    }
  }
  return found;
}

bool Sockets::isSpent(const Route& route) {
  const auto socket = find(route);
  if (!socket) return false;
  const int state = stateOf(socket->descriptor);
  const bool isClosed = (state & POLLRDHUP) != 0;
  const bool isUnasked = (state & POLLIN) != 0 && socket->wasUsed && !socket->isMultiplexed;
  if (!isClosed && !isUnasked) return false;
  closeIfIdle(*socket);
  return true;
}

Sockets::Use Sockets::beginUse(const Route& route, void* tls) {
  auto socket = find(route);
  if (socket) {
    ++socket->uses;
    socket->wasUsed = true;
    socket->tls = tls;
    socket->isMultiplexed = speaksHttp2(tls);
  }
  return socket;
}

void Sockets::endUse(const Use& use) const {
  if (!use) return;
  --use->uses;
  if (use->isClosedByPeer) closeIfIdle(*use);
}

bool Sockets::hasBroken(const Use& use) {
  if (!use || use->hasBroken) return true;
  return use->descriptor >= 0 && hasPeerClosed(use->descriptor);
}

void Sockets::noteLastStream(const Use& use, std::int64_t stream) {
  if (use) use->lastStream = stream;
}

bool Sockets::wasLeftOut(const Use& use, std::int64_t stream) {
  return use && stream > use->lastStream;
}

void Sockets::noteEndOfTls(const void* tls) {
  for (const auto& [descriptor, socket] : sockets_) {
    if (socket->tls == tls) socket->hasBroken = true;
  }
}

void Sockets::breakIfSilent(const Use& use, std::chrono::milliseconds since) {
  if (!use || use->descriptor < 0) return;
  tcp_info info{};
  socklen_t size = sizeof info;
  if (::getsockopt(use->descriptor, IPPROTO_TCP, TCP_INFO, &info, &size) != 0) return;
  if (std::chrono::milliseconds(info.tcpi_last_data_recv) >= since) {
    ::shutdown(use->descriptor, SHUT_RDWR);
  }
}

void Sockets::wake() const {
  ::eventfd_write(wake_, 1);
}

void Sockets::closeIdle() {
  std::array<epoll_event, 16> events{};
  const int count = ::epoll_wait(watch_, events.data(), static_cast<int>(events.size()), 0);
  for (int i = 0; i < count; ++i) {
    const auto& event = events[static_cast<std::size_t>(i)];
    const auto found = sockets_.find(event.data.fd);
    if (found == sockets_.end() || (event.events & EPOLLRDHUP) == 0) continue;
    found->second->isClosedByPeer = true;
    closeIfIdle(*found->second);
  }
}

void Sockets::closeIfIdle(Socket& socket) const {
  if (socket.uses > 0 || !socket.wasUsed || socket.descriptor < 0) return;
  if (::dup3(ended_, socket.descriptor, O_CLOEXEC) < 0) return;
  socket.isReplaced = true;
  endInPeace(socket.tls);
}

}  // namespace QuorvelCoreSDK
