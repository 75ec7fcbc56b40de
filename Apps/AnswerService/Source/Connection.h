#pragma once

#include <httplib.h>
#include <openssl/bio.h>
#include <openssl/ssl.h>

#include <memory>

namespace AnswerService {

/// The server's end of one connection, plain or TLS, as the HTTP layer reads and writes it. What a
/// client may send for one request is limited as a whole: the HTTP layer's own limits start anew
/// with each line and each piece of a body.
class Connection : public httplib::Stream {
 public:
  /// A null context means plain HTTP. The socket is borrowed.
  Connection(int fd, SSL_CTX* tls);
  /// Says goodbye to the client.
  ~Connection() override;

  void expectRequest();
  /// False after a request that was cut off: nobody knows where the next one would begin.
  [[nodiscard]] bool isUsable() const { return isUsable_; }

  [[nodiscard]] bool is_readable() const override { return true; }
  [[nodiscard]] bool is_writable() const override { return true; }
  ssize_t read(char* to, std::size_t size) override;
  ssize_t write(const char* from, std::size_t size) override;
  void get_remote_ip_and_port(std::string&, int&) const override {}  // nobody asks
  void get_local_ip_and_port(std::string& ip, int& port) const override;
  [[nodiscard]] socket_t socket() const override { return fd_; }

 private:
  const int fd_;
  /// Buffered, since the HTTP layer reads header lines a byte at a time.
  std::unique_ptr<BIO, decltype(&BIO_free_all)> stream_;
  bool isUsable_ = true;
  std::size_t bytesLeft_ = 0;
};

}  // namespace AnswerService
