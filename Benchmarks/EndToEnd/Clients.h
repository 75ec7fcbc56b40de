#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace Benchmarks {

struct Server {
  std::string address;
  std::string certificate;  // a file in PEM
};

/// One way to ask a server.
class Client {
 public:
  virtual ~Client() = default;

  /// Asks `count` questions, `inFlight` of them at a time, and waits for all replies. Returns how
  /// long each took, in microseconds.
  virtual std::vector<double> ask(std::size_t count, std::size_t inFlight) = 0;

 protected:
  Client() = default;
  Client(const Client&) = default;
  Client& operator=(const Client&) = default;
};

/// The library, asked on the thread that gets the answers.
[[nodiscard]] std::unique_ptr<Client> makeLibraryClient(const Server& server);

/// libcurl's multi interface alone, on one thread: the same requests, with bodies made once, over
/// as many connections as the library allows itself; replies are collected and left unread.
[[nodiscard]] std::unique_ptr<Client> makeMultiClient(const Server& server);

/// The straightforward program: one reused easy handle, bodies and replies by nlohmann. It waits
/// for each reply, whatever `inFlight` says.
[[nodiscard]] std::unique_ptr<Client> makeEasyClient(const Server& server);

/// The best program that can be written by hand for this alone: a worker with libcurl's multi
/// interface, bodies put together from text, replies decoded by simdjson into plain structures, and
/// a queue to the thread that asks.
[[nodiscard]] std::unique_ptr<Client> makeExpertClient(const Server& server);

}  // namespace Benchmarks
