#pragma once

#include "Certificate.h"

#include <httplib.h>
#include <openssl/ssl.h>

#include <memory>
#include <mutex>
#include <set>
#include <thread>

namespace AnswerService {

/// The HTTP server on 127.0.0.1, with its own thread. It serves its connections itself, because
/// then it knows them and shutDown() can end the idle ones at once; the HTTP layer alone would
/// wait for each until its keep-alive time is over.
class LoopbackServer : public httplib::Server {
 public:
  /// A null certificate means plain HTTP; otherwise borrowed until this is constructed.
  explicit LoopbackServer(const Certificate* certificate);
  ~LoopbackServer() override;

  /// Answers connections when this returns. Port 0 takes a free one. Returns the port; throws
  /// std::runtime_error when it is in use. Once only.
  int listenOn(int port);

  /// Returns when every request under way is answered or cut off.
  void shutDown();

 private:
  bool process_and_close_socket(socket_t fd) override;
  void serve(int fd);
  bool join(int fd);
  void leaveAndClose(int fd);

  const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> tls_;
  std::mutex mutex_;
  bool closing_ = false;
  std::set<int> open_;
  std::thread thread_;
};

}  // namespace AnswerService
