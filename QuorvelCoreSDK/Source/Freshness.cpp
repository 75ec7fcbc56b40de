#include "Freshness.h"

#include "Deadline.h"

#include <algorithm>

namespace QuorvelCoreSDK {
namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;

/// The time without that part of it.
milliseconds shortened(milliseconds time, double part) {
  return time - duration_cast<milliseconds>(part * time);
}

}  // namespace

void Freshness::renew(milliseconds timeToLive) {
  constexpr seconds connectionIsKept(5);  // by most servers, at the least
  startWatching();
  freshUntil_ = watchedSince_ + shortened(bounded(timeToLive), 0.1 * surroundings_.chance());
  justTriedUntil_ = watchedSince_ + connectionIsKept;
  pause_ = shortestPause;
}

void Freshness::postpone() {
  constexpr seconds longest(60);
  const bool isAgeUnknown = haveClocksJumped();
  startWatching();
  justTriedUntil_ = watchedSince_ + shortened(pause_, 0.5 * surroundings_.chance());
  freshUntil_ = isAgeUnknown ? justTriedUntil_ : std::max(freshUntil_, justTriedUntil_);
  pause_ = std::min(longest, 2 * pause_);
}

bool Freshness::isFresh() const {
  return surroundings_.now() < freshUntil_ && !haveClocksJumped();
}

bool Freshness::isJustTried() const {
  return surroundings_.now() < justTriedUntil_ && !haveClocksJumped();
}

bool Freshness::haveClocksJumped() const {
  constexpr minutes tolerance(1);  // for a clock that is set right now and then
  const auto passed = surroundings_.now() - watchedSince_;
  const auto passedByWallTime = surroundings_.wallTime() - watchedSinceWallTime_;
  return passed < passed.zero() || std::chrono::abs(passedByWallTime - passed) > tolerance;
}

void Freshness::startWatching() {
  watchedSince_ = surroundings_.now();
  watchedSinceWallTime_ = surroundings_.wallTime();
}

}  // namespace QuorvelCoreSDK
