#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <list>
#include <string>
#include <thread>

namespace Benchmarks {

/// How far away a server is, and what the line to it carries.
struct Distance {
  std::chrono::nanoseconds roundTrip;
  double bytesPerSecond;  // each way, for all connections together
};

/// Makes a server on loopback a distant one: takes connections, and passes on what it gets as late
/// as a network would, half a round trip after the line has carried it and all before it. Since a
/// connection on loopback stands at once, what goes out over a new one first waits for the round
/// trip that making it would have taken. Nothing gets lost, and TCP's slow start is left out: a
/// network lets some 14 KB through at first, and more from one round trip to the next.
class Relay {
 public:
  Relay(std::uint16_t serverPort, Distance distance);
  Relay(const Relay&) = delete;
  Relay& operator=(const Relay&) = delete;
  ~Relay();

  [[nodiscard]] std::uint16_t port() const { return port_; }

  /// Waits until no connection is left, each having been ended by both sides.
  void waitUntilClosed() const;

 private:
  using Clock = std::chrono::steady_clock;

  struct Piece {
    Clock::time_point due;
    std::string bytes;  // none: the end
  };
  struct Line {
    Clock::time_point freeAt;
  };
  struct Way {
    int from;
    int to;
    Line& line;
    Clock::time_point opens;
    std::deque<Piece> pieces = {};
    bool hasEnded = false;
  };
  using Connection = std::array<Way, 2>;

  void run();
  void watch(int descriptor, Way* way) const;
  void accept();
  void read(Way& way);
  void deliver(Way& way);
  void waitUntil(Clock::time_point due) const;
  void forgetEnded();

  const std::uint16_t serverPort_;
  const Distance distance_;
  const int watch_;
  const int timer_;
  const int listener_;
  std::uint16_t port_ = 0;
  std::atomic<int> open_ = 0;
  std::atomic<bool> isStopping_ = false;
  Line up_, down_;
  std::list<Connection> live_;
  std::thread thread_;
};

}  // namespace Benchmarks
