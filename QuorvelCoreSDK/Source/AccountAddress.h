#pragma once

#include <PellixPlatform/Error.h>

#include <optional>
#include <string>

namespace QuorvelCoreSDK {

/// Why an account's address can't be served, or nothing. Errors: `invalidAccountUrl` and
/// `insecureUrl`.
[[nodiscard]] std::optional<PellixPlatform::Error> faultOfAccountAddress(
    const std::string& address);

}  // namespace QuorvelCoreSDK
