#pragma once

#include <algorithm>
#include <chrono>

namespace QuorvelCoreSDK {

using Clock = std::chrono::steady_clock;

/// The time that is `limit` from now. A host may mean "never" with a limit that the clock can't
/// hold.
inline Clock::time_point deadlineAfter(std::chrono::milliseconds limit) {
  constexpr std::chrono::milliseconds none(0);
  constexpr std::chrono::milliseconds year = std::chrono::hours(24 * 365);
  return Clock::now() + std::clamp(limit, none, year);
}

}  // namespace QuorvelCoreSDK
