#pragma once

#include <PellixPlatform/Data.h>
#include <PellixPlatform/Error.h>
#include <QuorvelCoreSDK/ClientHeaders.h>
#include <VeltraneProvidersSDK/VeltraneError.h>

#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace VeltraneProvidersSDK {

/// How this library presents itself in its requests.
[[nodiscard]] std::shared_ptr<const QuorvelCoreSDK::ClientHeaders> veltraneHeaders();

[[nodiscard, gnu::cold]] PellixPlatform::Error makeVeltraneError(VeltraneErrorCode code,
                                                                 std::string text);

/// Runs `task` later: on the worker thread of the core instance at hand, or on the main queue
/// without one.
void postWithoutRequest(std::function<void()> task);

/// The body of a reply with a status in 200..299, or why there is none.
using Reply = std::expected<PellixPlatform::Data, PellixPlatform::Error>;

/// Posts to the knowledge base, with authentication. Answers once, on the worker thread, or where
/// `postWithoutRequest` does without a shared instance, and never within this call.
void postToKnowledgeBase(std::string_view path, std::function<void(Reply)> callback);

}  // namespace VeltraneProvidersSDK
