#pragma once

#include <httplib.h>
#include <openssl/ssl.h>

#include <chrono>
#include <map>
#include <mutex>
#include <thread>

namespace AnswerService {

class Connection;

/// The HTTP server on 127.0.0.1, with its own thread. It serves its connections itself, because
/// then it knows them: its end need not wait for idle ones, and where all threads are taken, a
/// new connection takes the place of the one that has kept the server waiting the longest. The HTTP
/// layer alone would wait for each until its time is over.
class LoopbackServer : public httplib::Server {
 public:
  /// A null context means plain HTTP. Borrowed.
  explicit LoopbackServer(SSL_CTX* tls);
  /// Returns when every request under way is answered or cut off.
  ~LoopbackServer() override;

  /// Answers connections when this returns. Port 0 takes a free one. Returns the port; throws
  /// std::runtime_error when it is in use. Once only.
  int listenOn(int port);

 private:
  struct Threads;

  bool process_and_close_socket(socket_t fd) override;
  void serve(int fd);
  template <class... Arguments>
  bool process(Connection& connection, Arguments&&... arguments);
  /// Cuts connections off until there are threads for those that wait. Under the lock.
  void makeRoom();

  /// By socket, since when each has had no request answered.
  using Open = std::map<int, std::chrono::steady_clock::time_point>;

  SSL_CTX* const tls_;
  std::mutex mutex_;
  bool isClosing_ = false;
  std::size_t waiting_ = 0;
  Open open_;
  std::thread thread_;
};

}  // namespace AnswerService
