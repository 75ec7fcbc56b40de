#pragma once

#include <QuorvelCoreSDK/internal/Surroundings.h>

#include <chrono>

namespace QuorvelCoreSDK {

/// For how long a kept document serves before it is fetched anew. Its times are spread, so that
/// those who were started or cut off together do not come back together.
class Freshness {
 public:
  explicit Freshness(const Surroundings& surroundings) : surroundings_(surroundings) {}

  /// The document has been fetched, or confirmed.
  void renew(std::chrono::milliseconds timeToLive);
  /// It could not be, and goes on to serve for a while, which is longer with each failure in a row.
  void postpone();

  /// Whether it serves.
  [[nodiscard]] bool isFresh() const;
  /// Whether the last attempt to fetch it is so recent that another one has no use.
  [[nodiscard]] bool isJustTried() const;
  /// Whether the clocks have jumped, so that nobody knows how old it is; as after a sleep of the
  /// device, in which one of them stands still.
  [[nodiscard]] bool haveClocksJumped() const;

 private:
  void startWatching();

  static constexpr std::chrono::seconds shortestPause{2};

  const Surroundings& surroundings_;
  std::chrono::steady_clock::time_point watchedSince_;
  std::chrono::system_clock::time_point watchedSinceWallTime_;
  std::chrono::steady_clock::time_point freshUntil_;
  std::chrono::steady_clock::time_point justTriedUntil_;
  std::chrono::seconds pause_ = shortestPause;  // after the next failure
};

}  // namespace QuorvelCoreSDK
