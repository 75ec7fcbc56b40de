#pragma once

#include <string_view>

/// Where the siblings find their services below an account's base address. (The product's own are
/// in its endpoint table.)
namespace QuorvelCoreSDK::ServicePaths {

inline constexpr std::string_view accountSettings = "/api/v1/account/settings";
inline constexpr std::string_view knowledgeSettings = "/knowledge/v1/settings";
/// Followed by an article's identifier and `upVoteSuffix`.
inline constexpr std::string_view articles = "/knowledge/v1/articles/";
inline constexpr std::string_view upVoteSuffix = "/votes/up";

}  // namespace QuorvelCoreSDK::ServicePaths
