#pragma once

#include <httplib.h>
#include <openssl/ssl.h>

#include <array>
#include <chrono>
#include <memory>

namespace AnswerService {

/// The server's end of one connection, plain or TLS, as the HTTP layer reads and writes it.
/// Does not own the socket.
class Connection : public httplib::Stream {
 public:
  /// A null context means plain HTTP.
  Connection(int fd, SSL_CTX* tls, std::chrono::seconds ioTimeout);

  /// False when a TLS client goes away or does not trust the certificate.
  bool handshake();
  /// False when no further request begins in this time, or none ever will.
  bool waitForRequest(std::chrono::seconds atMost);
  void sayGoodbye();

  [[nodiscard]] bool is_readable() const override { return true; }
  [[nodiscard]] bool is_writable() const override { return true; }
  ssize_t read(char* to, std::size_t size) override;
  ssize_t write(const char* from, std::size_t size) override;
  void get_remote_ip_and_port(std::string& ip, int& port) const override;
  void get_local_ip_and_port(std::string& ip, int& port) const override;
  [[nodiscard]] socket_t socket() const override { return fd_; }

 private:
  ssize_t receive(char* to, std::size_t size);

  const int fd_;
  const std::unique_ptr<SSL, decltype(&SSL_free)> tls_;
  /// The HTTP layer reads header lines a byte at a time; each would be a system call without this.
  std::array<char, 16UL * 1024> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

}  // namespace AnswerService
