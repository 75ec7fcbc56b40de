#include "../Sockets.h"

#include "../TlsContext.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <ctime>
#include <iterator>
#include <limits>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

namespace QuorvelCoreSDK {
namespace {

/// How long sent data may stay without an acknowledgement: RFC 5482.
constexpr unsigned int unacknowledged = 15'000;  // milliseconds

/// Whether something has come over the socket, or the other side has closed it: POLLIN, POLLRDHUP.
int stateOf(int socket) {
  pollfd state[] = {{.fd = socket, .events = POLLIN | POLLRDHUP, .revents = {}}};
  ::poll(state, std::size(state), 0);
  return state->revents;
}

bool hasPeerClosed(int socket) {
  return (stateOf(socket) & POLLRDHUP) != 0;
}

bool isInternet(int family) {
  return family == AF_INET || family == AF_INET6;
}

/// One of a socket's ends, as libcurl names it. Port 0: the socket has none yet.
struct End {
  int port = 0;
  std::array<char, INET6_ADDRSTRLEN> address{};
};

End endOf(int (*nameOf)(int, sockaddr*, socklen_t*), int socket) {
  sockaddr_storage name{};
  socklen_t size = sizeof name;
  nameOf(socket, reinterpret_cast<sockaddr*>(&name), &size);
  const auto& four = reinterpret_cast<const sockaddr_in&>(name);
  const auto& six = reinterpret_cast<const sockaddr_in6&>(name);
  static_assert(offsetof(sockaddr_in, sin_port) == offsetof(sockaddr_in6, sin6_port));
  End end{.port = ntohs(four.sin_port), .address = {}};
  const void* address = &four.sin_addr;
  if (name.ss_family == AF_INET6) address = &six.sin6_addr;
  ::inet_ntop(name.ss_family, address, end.address.data(),
              static_cast<socklen_t>(end.address.size()));
  return end;
}

std::uint64_t bytesFrom(int socket) {
  tcp_info info{};
  socklen_t size = sizeof info;
  ::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size);
  return info.tcpi_bytes_received;
}

/// How long the calling thread has worked. That a process was stopped for a while, or that others
/// were, does not count.
std::chrono::nanoseconds workOfThread() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// What the system has done. Errors: `std::system_error` if it has not.
int done(int result) {
  if (result < 0) throw std::system_error(errno, std::generic_category());
  return result;
}

std::array<int, 2> connectedSockets() {
  std::array<int, 2> ends{};
  done(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()));
  return ends;
}

}  // namespace

Sockets::Descriptor::Descriptor(int descriptor) : descriptor_(done(descriptor)) {}

Sockets::Descriptor::~Descriptor() {
  ::close(descriptor_);
}

Sockets::Sockets() : Sockets(connectedSockets()) {}

Sockets::Sockets(std::array<int, 2> ends)
    : ended_(ends[0]),
      otherEnd_(ends[1]),
      watch_(::epoll_create1(EPOLL_CLOEXEC)),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  ::shutdown(otherEnd_, SHUT_WR);
  // Whoever wakes adds to a counter that nobody reads: each addition is an event of its own.
  epoll_event woken{.events = EPOLLIN | EPOLLET, .data = {.fd = wake_}};
  done(::epoll_ctl(watch_, EPOLL_CTL_ADD, wake_, &woken));
}

struct Sockets::Socket {
  int descriptor;  // CURL_SOCKET_BAD: libcurl has closed it
  std::size_t uses = 0;
  bool wasUsed = false;  // so that a handshake is under way no more
  bool isClosedByPeer = false;
  std::optional<std::uint64_t> silentAt;  // how many bytes had come
  void* tls = nullptr;
  bool isTlsEndedByPeer = false;
  std::int64_t lastStream = std::numeric_limits<std::int64_t>::max();
  End local{};
  End peer{};
};

bool Sockets::isSilent(const Socket& socket) {
  return socket.silentAt == bytesFrom(socket.descriptor);
}

int Sockets::open(int family, int type, int protocol) {
  const int descriptor = ::socket(family, type | SOCK_CLOEXEC, protocol);
  if (descriptor < 0) return CURL_SOCKET_BAD;
  try {
    sockets_[descriptor] = std::make_shared<Socket>(Socket{.descriptor = descriptor});
  } catch (const std::bad_alloc&) {
    ::close(descriptor);
    return CURL_SOCKET_BAD;
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
  if (const auto closed = sockets_.extract(descriptor)) {
    closed.mapped()->descriptor = CURL_SOCKET_BAD;  // the system refuses whatever is asked of that
  }
  ::close(descriptor);
}

Sockets::Use Sockets::find(const Route& route) {
  Use found;
  for (const auto& [descriptor, socket] : sockets_) {
    if (socket->peer.port == 0) {
      socket->local = endOf(::getsockname, descriptor);
      socket->peer = endOf(::getpeername, descriptor);
    }
    if (socket->local.port == route.localPort && socket->peer.port == route.peerPort &&
        route.peer == socket->peer.address.data() && (!found || hasPeerClosed(descriptor))) {
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
  const bool hasMore = (state & POLLIN) != 0 || holdsUnread(socket->tls);
  const bool isUnasked = hasMore && socket->wasUsed && !speaksHttp2(socket->tls);
  if (!isClosed && !isUnasked && !isSilent(*socket)) return false;
  closeIfIdle(*socket);
  return true;
}

Sockets::Use Sockets::beginUse(const Route& route, void* tls) {
  auto socket = find(route);
  if (socket) {
    ++socket->uses;
    socket->wasUsed = true;
    socket->tls = tls;
  }
  return socket;
}

void Sockets::endUse(const Use& use) const {
  if (!use) return;
  --use->uses;
  if (use->isClosedByPeer || isSilent(*use)) closeIfIdle(*use);
}

void Sockets::noteLastStream(const Use& use, std::int64_t stream) const {
  if (use && use->tls == reader_) use->lastStream = stream;
}

bool Sockets::wasLeftOut(const Use& use, std::int64_t stream) {
  return use && stream > use->lastStream;
}

void Sockets::noteEndOfTls(const void* tls) {
  for (const auto& [descriptor, socket] : sockets_) {
    if (socket->tls == tls) socket->isTlsEndedByPeer = true;
  }
}

bool Sockets::mayBeCut(const Use& use) {
  return use && use->tls && canWatchTls() && !use->isTlsEndedByPeer;
}

void Sockets::beginTurn() {
  readers_ = {};
  workInVain_ = {};
}

bool Sockets::mayHaveMore(const void* reader) {
  using std::chrono::milliseconds;
  constexpr std::size_t few = 32;  // more than a handshake takes
  constexpr milliseconds longest(1000);
  constexpr milliseconds longestInVain(250);       // of all together
  constexpr milliseconds longestInVainAnyway(10);  // of each, when others have used that up
  reader_ = reader;
  auto* found = std::ranges::find(readers_, reader, &Reader::name);
  if (found == readers_.end()) {
    readers_ = {Reader{.name = reader}, readers_[0], readers_[1]};
    found = readers_.begin();
  }
  ++found->piecesInVain;
  if (++found->pieces <= few) return true;
  const auto now = workOfThread();
  const auto work = found->pieces == few + 1 ? std::chrono::nanoseconds(0) : now - looked_;
  looked_ = now;
  found->work += work;
  if (found->piecesInVain <= few) return found->work < longest;
  found->workInVain += work;
  workInVain_ += work;
  return workInVain_ < longestInVain || found->workInVain < longestInVainAnyway;
}

void Sockets::noteProgress() {
  for (auto& reader : readers_) reader.piecesInVain = 0;
}

bool Sockets::breakOff(const void* tls) const {
  const auto found =
      std::ranges::find(sockets_, tls, [](const auto& each) { return each.second->tls; });
  return found != sockets_.end() && ::dup3(ended_, found->first, O_CLOEXEC) >= 0;
}

std::uint64_t Sockets::receivedBytes(const Use& use) {
  return use ? bytesFrom(use->descriptor) : 0;
}

void Sockets::leaveIfSilent(const Use& use, std::uint64_t before) {
  if (use && receivedBytes(use) == before) use->silentAt = before;
}

void Sockets::wake() const {
  ::eventfd_write(wake_, 1);
}

void Sockets::closeIdle() {
  epoll_event event{};  // the descriptor stays readable as long as there are more
  ::epoll_wait(watch_, &event, 1, 0);
  const auto found = sockets_.find(event.data.fd);
  // A child process may hold an earlier socket of the same number open.
  if (found == sockets_.end() || !hasPeerClosed(found->first)) return;
  found->second->isClosedByPeer = true;
  closeIfIdle(*found->second);
}

void Sockets::closeIfIdle(Socket& socket) const {
  if (socket.uses > 0 || !socket.wasUsed) return;
  if (::dup3(ended_, socket.descriptor, O_CLOEXEC) < 0) return;
  endInPeace(socket.tls);
}

}  // namespace QuorvelCoreSDK
