#pragma once

#include "Options.h"

#include <PellixPlatform/Error.h>
#include <QuorvelCoreSDK/Quorvel.h>
#include <QuorvelCoreSDK/Transport.h>

#include <expected>
#include <memory>
#include <optional>
#include <string>

namespace PellixApp {

using Account = std::shared_ptr<QuorvelCoreSDK::Quorvel>;

/// A core instance for the account, with less patience than usual.
[[nodiscard]] std::expected<Account, PellixPlatform::Error> accountFor(const Options& options);

/// What the account's service has for the library, without what the library makes of it.
struct Observation {
  QuorvelCoreSDK::TransportReply settings;
  QuorvelCoreSDK::TransportReply knowledgeSettings;
};

/// Fetches it. Throws `Interrupted`, as do those below.
[[nodiscard]] Observation observe(const Account& account);

/// The query that the library makes when it gets these knowledge settings and finds the feature
/// enabled. It does not go out. Nothing if the library makes none.
[[nodiscard]] std::optional<QuorvelCoreSDK::TransportRequest> queryAfter(
    const Observation& observation, const Account& account, const Options& options);

/// Sends that query with the account's token.
[[nodiscard]] QuorvelCoreSDK::TransportReply send(const QuorvelCoreSDK::TransportRequest& query,
                                                  const Account& account);

}  // namespace PellixApp
