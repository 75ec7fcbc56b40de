#pragma once

#include "LoopbackIdentity.h"

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

struct ssl_ctx_st;

namespace Support {

struct LoopbackRequest {
  std::size_t connection = 0;  // from 0, in the order of their making
  std::string head;            // request line and header fields, each with its line end
  std::string body;
};

/// Bytes to send, whatever they are, and what to do with the connection then.
struct LoopbackReply {
  /// More: what the handler says when it is asked once more, without a request.
  enum class Then : std::uint8_t { keep, close, reset, stall, repeat, more };
  std::string bytes;
  Then then = Then::keep;
};

/// What is to be done then, as a table's row names it among other words; else the connection is
/// kept.
[[nodiscard]] LoopbackReply::Then thenIn(std::string_view words);

/// A whole HTTP/1.1 reply; each of `fields` ends in CR LF.
[[nodiscard]] std::string httpReply(std::string_view status, std::string_view body = {},
                                    std::string_view fields = {});

/// A server on this machine's loopback that answers what it is told to, proper HTTP or not. A
/// handler runs on its connection's own thread, so it may wait for whatever a test steers.
class LoopbackServer {
 public:
  using Handler = std::function<LoopbackReply(const LoopbackRequest&)>;

  struct Options {
    std::optional<LoopbackIdentity> identity;  // speaks TLS then
    bool isOlder = false;  // TLS 1.2 then, whose sessions it keeps in tickets alone
    bool isProxy = false;  // for what it answers itself, over TLS, once CONNECT is answered
    bool isIPv6 = false;
    bool answersUnasked = false;  // as soon as a connection stands
    bool isDeaf = false;          // holds the port, but refuses connections
    bool isFull = false;          // lets connections wait for ever to be made
    bool isNarrow = false;        // takes little at once
    bool keepsRequests = true;    // for `requests`
  };

  explicit LoopbackServer(Handler handler) : LoopbackServer(std::move(handler), Options()) {}
  LoopbackServer(Handler handler, Options options);
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;
  /// Breaks off what still goes on.
  ~LoopbackServer();

  /// Scheme, host and port; the host as given, else the address.
  [[nodiscard]] std::string origin(std::string_view host = {}) const;
  [[nodiscard]] std::uint16_t port() const { return port_; }
  [[nodiscard]] std::vector<LoopbackRequest> requests() const;
  [[nodiscard]] std::size_t connections() const;
  /// How many connections went on with a TLS session of an earlier one.
  [[nodiscard]] std::size_t resumptions() const;

 private:
  struct Connection;
  void accept();
  void serve(Connection& connection);
  [[nodiscard]] bool answer(Connection& connection, std::string& received);

  const Handler handler_;
  const Options options_;
  const std::shared_ptr<ssl_ctx_st> tls_;
  int listener_ = -1;
  int filler_ = -1;
  std::uint16_t port_ = 0;
  mutable std::mutex mutex_;
  std::list<Connection> connections_;  // some may be closed
  std::size_t accepted_ = 0;
  std::size_t resumed_ = 0;
  std::vector<LoopbackRequest> requests_;
  std::thread acceptor_;
};

}  // namespace Support
