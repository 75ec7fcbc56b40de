#pragma once

#include <PellixPlatform/Error.h>
#include <PellixPlatform/URL.h>

#include <expected>
#include <string>

namespace QuorvelCoreSDK {

/// An account's address, or why it can't be served. Errors: `invalidAccountUrl` and `insecureUrl`.
[[nodiscard]] std::expected<PellixPlatform::URL, PellixPlatform::Error> parseAccountAddress(
    const std::string& address);

}  // namespace QuorvelCoreSDK
