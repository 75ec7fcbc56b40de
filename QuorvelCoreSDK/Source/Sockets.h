#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string_view>

namespace QuorvelCoreSDK {

/// The sockets of the kept connections, as far as libcurl does not look after them: it notices that
/// the other side has closed one only when that is about to be used again, and over TLS not even
/// then. What this takes of the operating system stands in one source file.
///
/// Thread safety: the worker thread only.
class Sockets {
 public:
  /// Errors: `std::system_error` if the system has no descriptor left.
  Sockets();
  Sockets(const Sockets&) = delete;
  Sockets& operator=(const Sockets&) = delete;

  /// A new socket, which the host's child processes do not inherit, or -1. The system gives a
  /// connection up whose data is not acknowledged for a while, so that a network which is gone
  /// without a word does not hold up all that shares the connection.
  [[nodiscard]] int open(int family, int type, int protocol);
  void close(int socket);

  /// Where a connection goes from and to, by which libcurl names it.
  struct Route {
    std::string_view peer;
    int peerPort;
    int localPort;
  };

  struct Socket;
  /// A connection, as those that use it hold it; null: unknown.
  using Use = std::shared_ptr<Socket>;

  /// Whether the connection must not be used again: the other side has closed it, so that nothing
  /// that is sent is heard; or it has sent, unasked, what would be taken for the next reply.
  [[nodiscard]] bool isSpent(const Route& route);

  /// Says that a request goes out over the connection, and that it has ended. `tls` is the TLS
  /// library's object for the connection, null without TLS.
  [[nodiscard]] Use beginUse(const Route& route, void* tls);
  void endUse(const Use& use) const;

  /// Says that the other side will answer no stream of a connection beyond one. Passed over if what
  /// was read last came over another: while libcurl looks for a connection anew, it reads others.
  void noteLastStream(const Use& use, std::int64_t stream) const;
  /// Whether a stream (0: unknown) lies beyond it.
  [[nodiscard]] static bool wasLeftOut(const Use& use, std::int64_t stream);

  /// Says that the other side has ended TLS on a connection.
  void noteEndOfTls(const void* tls);
  /// Whether somebody on the way may have ended the connection, if it has: by TLS, the other side
  /// has not (RFC 9112, section 9.8).
  [[nodiscard]] static bool mayBeCut(const Use& use);

  /// Says that every connection has its turn anew.
  void beginTurn();
  /// Says that `reader` (whatever tells it from others; a connection through a proxy has several)
  /// gets one more piece of what comes over its connection. False if it has had so many in this
  /// turn, for so long, that it keeps all others waiting, and has to go. libcurl itself would read
  /// as long as something comes.
  [[nodiscard]] bool mayHaveMore(const void* reader);
  /// Says that what has come was of use.
  void noteProgress();
  /// Ends the connection of `tls` as if it had been lost. False if it is not in use yet.
  [[nodiscard]] bool breakOff(const void* tls) const;

  /// How many bytes have come over the connection, as the system counts them.
  [[nodiscard]] static std::uint64_t receivedBytes(const Use& use);
  /// Says that a request has waited in vain since there were so many. If none has come meanwhile,
  /// the connection is not used again until one does; who uses it already may still be answered.
  static void leaveIfSilent(const Use& use, std::uint64_t before);

  /// Readable when `closeIdle` has something to do, if only to take note of being woken.
  [[nodiscard]] int descriptor() const { return watch_; }

  /// Makes the descriptor readable. Thread safety: any thread.
  void wake() const;

  /// Closes those connections which the other side has closed and nobody uses, so that they do not
  /// stay half open until the next request. libcurl forgets them at its next look.
  void closeIdle();

 private:
  /// Errors: `std::system_error` if the system has given none.
  class Descriptor {
   public:
    explicit Descriptor(int descriptor);
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor();
    operator int() const { return descriptor_; }  // NOLINT(google-explicit-constructor)

   private:
    const int descriptor_;
  };

  explicit Sockets(std::array<int, 2> ends);
  [[nodiscard]] Use find(const Route& route);
  [[nodiscard]] static bool isSilent(const Socket& socket);
  void closeIfIdle(Socket& socket) const;

  // What libcurl has instead of a closed connection: all that is written there is taken, so that it
  // has no failure to tell of in a request that has nothing to do with it, and the end is read. TLS
  // has ended by then.
  const Descriptor ended_;
  const Descriptor otherEnd_;
  const Descriptor watch_;
  const Descriptor wake_;
  std::map<int, Use> sockets_;
  struct Reader {
    const void* name = nullptr;
    std::size_t pieces = 0;           // that it has had in this turn
    std::size_t piecesInVain = 0;     // since something was of use
    std::chrono::nanoseconds work{};  // on it, beyond the first few
    std::chrono::nanoseconds workInVain{};
  };
  const void* reader_ = nullptr;           // the latest
  std::array<Reader, 3> readers_;          // the last: TLS to a proxy, TLS through it, a request
  std::chrono::nanoseconds looked_{};      // when it was last looked how long they take
  std::chrono::nanoseconds workInVain_{};  // on all who have had many, in this turn
};

}  // namespace QuorvelCoreSDK
