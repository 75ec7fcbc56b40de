#pragma once

#include <cstdint>
#include <optional>
#include <utility>

namespace PellixProvidersSDK {

/// Why an article was rejected. What each reason means is between the account and its answer
/// service; the library knows their numbers alone.
enum class RejectionReason : std::int64_t { reason0 = 0, reason1 = 1, reason2 = 2 };

[[nodiscard]] constexpr std::int64_t rawValue(RejectionReason reason) {
  return std::to_underlying(reason);
}

/// The reason with a number, or nothing for any number but 0, 1 and 2.
[[nodiscard]] constexpr std::optional<RejectionReason> makeRejectionReason(std::int64_t rawValue) {
  if (rawValue < 0 || 2 < rawValue) return std::nullopt;
  return static_cast<RejectionReason>(rawValue);
}

}  // namespace PellixProvidersSDK
