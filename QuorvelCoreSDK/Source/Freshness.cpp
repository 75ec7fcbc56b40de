#include "Freshness.h"

#include "Deadline.h"

#include <algorithm>

namespace QuorvelCoreSDK {
namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;

/// The time without up to that part of it.
milliseconds shortened(milliseconds time, double most, double chance) {
  return time - duration_cast<milliseconds>(most * chance * time);
}

}  // namespace

void Freshness::renew(milliseconds timeToLive) {
  constexpr seconds connectionIsKept(5);  // by most servers, at the least
  startWatching();
  freshUntil_ = watchedSince_ + shortened(bounded(timeToLive), 0.1, surroundings_.chance());
  justTriedUntil_ = watchedSince_ + connectionIsKept;
  failures_ = 0;
}

void Freshness::postpone() {
  constexpr seconds longest(60);
  constexpr seconds first(2);
  constexpr int mostDoublings = 5;  // with the next one it is longer than the longest
  const milliseconds pause = std::min(longest, first * (1 << std::min(failures_, mostDoublings)));
  const bool isAgeUnknown = haveClocksJumped();
  startWatching();
  justTriedUntil_ = watchedSince_ + shortened(pause, 0.5, surroundings_.chance());
  freshUntil_ = isAgeUnknown ? justTriedUntil_ : std::max(freshUntil_, justTriedUntil_);
  ++failures_;
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
