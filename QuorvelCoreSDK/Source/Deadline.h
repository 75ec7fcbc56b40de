#pragma once

#include <algorithm>
#include <chrono>

namespace QuorvelCoreSDK {

using Clock = std::chrono::steady_clock;

/// A limit that the clock can hold, though a host may mean "never" with it.
inline std::chrono::milliseconds bounded(std::chrono::milliseconds limit) {
  constexpr std::chrono::milliseconds year = std::chrono::hours(24 * 365);
  return std::clamp(limit, std::chrono::milliseconds::zero(), year);
}

/// The time that is `limit` from now.
inline Clock::time_point deadlineAfter(std::chrono::milliseconds limit) {
  return Clock::now() + bounded(limit);
}

}  // namespace QuorvelCoreSDK
