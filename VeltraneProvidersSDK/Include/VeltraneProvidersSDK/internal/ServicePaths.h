#pragma once

#include <string_view>

/// Where the knowledge base finds its services below an account's base address.
namespace VeltraneProvidersSDK::ServicePaths {

inline constexpr std::string_view knowledgeSettings = "/knowledge/v1/settings";
/// Followed by an article's identifier and `upVoteSuffix`.
inline constexpr std::string_view articles = "/knowledge/v1/articles/";
inline constexpr std::string_view upVoteSuffix = "/votes/up";

}  // namespace VeltraneProvidersSDK::ServicePaths
