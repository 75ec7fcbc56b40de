#include "Connection.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>

namespace AnswerService {
namespace {

constexpr std::size_t largestRequest = std::size_t{4} << 20;

}  // namespace

Connection::Connection(int fd, SSL_CTX* tls) : fd_(fd), stream_(nullptr, &BIO_free_all) {
  BIO* chain = BIO_new_socket(fd, BIO_NOCLOSE);
  if (tls) chain = BIO_push(BIO_new_ssl(tls, 0), chain);
  stream_.reset(BIO_push(BIO_new(BIO_f_buffer()), chain));
}

Connection::~Connection() {
  BIO_flush(stream_.get());
  BIO_ssl_shutdown(stream_.get());
}

void Connection::expectRequest() {
  bytesLeft_ = largestRequest;
}

ssize_t Connection::read(char* to, std::size_t size) {
  BIO_flush(stream_.get());  // The client may wait for it before it sends more.
  const int most = static_cast<int>(std::min(size, bytesLeft_));
  const int count = most > 0 ? BIO_read(stream_.get(), to, most) : -1;
  if (count <= 0) {
    isUsable_ = false;
    return count;
  }
  bytesLeft_ -= static_cast<std::size_t>(count);
  return count;
}

ssize_t Connection::write(const char* from, std::size_t size) {
  return BIO_write(stream_.get(), from, static_cast<int>(size));
}

void Connection::get_local_ip_and_port(std::string&, int& port) const {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &size) == 0)
    port = ntohs(address.sin_port);
}

}  // namespace AnswerService
