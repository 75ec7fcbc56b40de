#pragma once

#include <QuorvelCoreSDK/Quorvel.h>

#include <chrono>
#include <functional>

namespace QuorvelCoreSDK {

/// At least 0 and less than 1.
[[nodiscard]] PELLIX_EXPORT double anyChance();

/// Where a core instance has the times and the chance from that it keeps documents by, so that a
/// simulation can put its own in their place. Each may be called on any thread, and not null.
struct Surroundings {
  std::function<std::chrono::steady_clock::time_point()> now = std::chrono::steady_clock::now;
  std::function<std::chrono::system_clock::time_point()> wallTime = std::chrono::system_clock::now;
  std::function<double()> chance = anyChance;  ///< 0 at least and less than 1.
};

/// What `Quorvel::initialize` makes, but the shared instance stays as it is.
[[nodiscard]] PELLIX_EXPORT std::expected<std::shared_ptr<Quorvel>, PellixPlatform::Error>
makeQuorvel(const AccountDetails& accountDetails, Configuration configuration,
            Surroundings surroundings = {});

}  // namespace QuorvelCoreSDK
