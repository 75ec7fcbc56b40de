#include "Connection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <climits>
#include <cstring>

namespace AnswerService {
namespace {

using NameOf = int (*)(int, sockaddr*, socklen_t*);

void readAddress(NameOf nameOf, int fd, std::string& ip, int& port) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (nameOf(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0) return;
  char text[INET_ADDRSTRLEN] = {};
  if (inet_ntop(AF_INET, &address.sin_addr, text, sizeof text) == nullptr) return;
  ip = text;
  port = ntohs(address.sin_port);
}

}  // namespace

Connection::Connection(int fd, SSL_CTX* tls, std::chrono::seconds ioTimeout)
    : fd_(fd), tls_(tls ? SSL_new(tls) : nullptr, &SSL_free) {
  // A client that stalls in the middle of a request must not keep a thread for good.
  const timeval timeout{.tv_sec = ioTimeout.count(), .tv_usec = 0};
  setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  setsockopt(fd_, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
  if (tls_) SSL_set_fd(tls_.get(), fd_);
}

bool Connection::handshake() {
  return !tls_ || SSL_accept(tls_.get()) == 1;
}

bool Connection::waitForRequest(std::chrono::seconds atMost) {
  if (begin_ != end_ || (tls_ && SSL_pending(tls_.get()) > 0)) return true;
  pollfd waiting{.fd = fd_, .events = POLLIN, .revents = 0};
  const auto milliseconds = std::chrono::milliseconds(atMost).count();
  if (poll(&waiting, 1, static_cast<int>(milliseconds)) != 1) return false;
  // Readable also means "closed by the client"; only a byte tells that a request begins.
  const ssize_t received = receive(buffer_.data(), buffer_.size());
  begin_ = 0;
  end_ = received > 0 ? static_cast<std::size_t>(received) : 0;
  return end_ > 0;
}

void Connection::sayGoodbye() {
  if (tls_) SSL_shutdown(tls_.get());
}

ssize_t Connection::read(char* to, std::size_t size) {
  if (begin_ == end_) {
    if (size >= buffer_.size()) return receive(to, size);
    const ssize_t received = receive(buffer_.data(), buffer_.size());
    if (received <= 0) return received;
    begin_ = 0;
    end_ = static_cast<std::size_t>(received);
  }
  const std::size_t count = std::min(size, end_ - begin_);
  std::memcpy(to, buffer_.data() + begin_, count);
  begin_ += count;
  return static_cast<ssize_t>(count);
}

ssize_t Connection::receive(char* to, std::size_t size) {
  if (tls_) return SSL_read(tls_.get(), to, static_cast<int>(std::min<std::size_t>(size, INT_MAX)));
  ssize_t received;
  do {
    received = recv(fd_, to, size, 0);
  } while (received < 0 && errno == EINTR);
  return received;
}

ssize_t Connection::write(const char* from, std::size_t size) {
  if (tls_) {
    return SSL_write(tls_.get(), from, static_cast<int>(std::min<std::size_t>(size, INT_MAX)));
  }
  ssize_t sent;
  do {
    sent = send(fd_, from, size, MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  return sent;
}

void Connection::get_remote_ip_and_port(std::string& ip, int& port) const {
  readAddress(getpeername, fd_, ip, port);
}

void Connection::get_local_ip_and_port(std::string& ip, int& port) const {
  readAddress(getsockname, fd_, ip, port);
}

}  // namespace AnswerService
