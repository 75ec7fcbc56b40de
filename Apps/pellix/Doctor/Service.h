#pragma once

#include "Options.h"

#include <QuorvelCoreSDK/Quorvel.h>
#include <QuorvelCoreSDK/Transport.h>

#include <ctime>
#include <memory>
#include <optional>

namespace PellixApp {

using Account = std::shared_ptr<QuorvelCoreSDK::Quorvel>;

/// The service's replies to the library's two fetches of settings, without what the library makes
/// of them.
struct SettingsReplies {
  QuorvelCoreSDK::TransportReply account;
  QuorvelCoreSDK::TransportReply knowledgeBase;
  std::time_t receivedAt = 0;  ///< The first.
};

[[nodiscard]] SettingsReplies fetchSettings(const Account& account);

/// The query that the library makes when it gets this reply for the knowledge base's settings and
/// finds the feature enabled. It does not go out. Nothing if the library makes none.
[[nodiscard]] std::optional<QuorvelCoreSDK::TransportRequest> makeQuery(
    const QuorvelCoreSDK::TransportReply& knowledgeSettings, const Account& account,
    const Options& options);

/// Sends that query with the account's token.
[[nodiscard]] QuorvelCoreSDK::TransportReply send(const QuorvelCoreSDK::TransportRequest& query,
                                                  const Account& account);

}  // namespace PellixApp
