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

/// As many as the library allows itself to one server.
inline constexpr std::size_t mostConnections = 16;

/// One way to ask a server. Ends the program if that refuses.
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

// What programmers of applications take, each in its usual form. All make each body by their JSON
// library and decode replies into plain structures.

/// libsoup and json-glib, in GLib's main loop: no thread but that.
[[nodiscard]] std::unique_ptr<Client> makeSoupClient(const Server& server);

/// Qt Network and QJsonDocument. Qt sends on a thread of its own, over six connections: another
/// number can't be asked for.
[[nodiscard]] std::unique_ptr<Client> makeQtClient(const Server& server);

/// Boost.Beast and Boost.JSON, by coroutines on one thread, over a pool of connections. In the
/// clear alone: it does not speak HTTP/2.
[[nodiscard]] std::unique_ptr<Client> makeBeastClient(const Server& server);

/// cpp-httplib and nlohmann. Its client waits for each reply, so there are as many threads as
/// questions in flight, up to the limit of connections, and each has a client. In the clear alone:
/// it does not speak HTTP/2.
[[nodiscard]] std::unique_ptr<Client> makeHttplibClient(const Server& server);

}  // namespace Benchmarks
