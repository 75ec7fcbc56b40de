#pragma once

#include <string_view>

/// Where the core finds its services below an account's base address.
namespace QuorvelCoreSDK::ServicePaths {

inline constexpr std::string_view accountSettings = "/api/v1/account/settings";

}  // namespace QuorvelCoreSDK::ServicePaths
