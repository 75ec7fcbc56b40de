#pragma once

#include "Doctor/Finding.h"
#include "Doctor/Probe.h"
#include "Doctor/Service.h"

namespace PellixApp {

/// An examination under way: a check leaves here what later ones build on.
struct Examination {
  const Options& options;
  bool hasEndpoints = false;                ///< The library can make its requests.
  Account account;                          ///< Null: the address can't be served.
  std::optional<Probe> probe;               ///< With an account.
  std::optional<SettingsReplies> settings;  ///< With a connection, from `checkQuery` on.
  std::optional<QuorvelCoreSDK::TransportRequest> query;  ///< As the library makes it.
};

[[nodiscard]] Finding checkResources(Examination& examination);
[[nodiscard]] Finding checkEndpointTable(Examination& examination);
[[nodiscard]] Finding checkLibraryVersion(Examination& examination);
[[nodiscard]] Finding checkLibraryCopies(Examination& examination);
[[nodiscard]] Finding checkDependencies(Examination& examination);

[[nodiscard]] Finding checkProxy(Examination& examination);
[[nodiscard]] Finding checkAccountAddress(Examination& examination);
[[nodiscard]] Finding checkNameResolution(Examination& examination);
[[nodiscard]] Finding checkConnection(Examination& examination);
[[nodiscard]] Finding checkIPv4(Examination& examination);
[[nodiscard]] Finding checkIPv6(Examination& examination);
[[nodiscard]] Finding checkTLS(Examination& examination);
[[nodiscard]] Finding checkCertificates(Examination& examination);

[[nodiscard]] Finding checkToken(Examination& examination);
[[nodiscard]] Finding checkQuery(Examination& examination);
[[nodiscard]] Finding checkSettings(Examination& examination);
[[nodiscard]] Finding checkProtocol(Examination& examination);
[[nodiscard]] Finding checkClock(Examination& examination);
[[nodiscard]] Finding checkFeature(Examination& examination);
[[nodiscard]] Finding checkKnowledgeBase(Examination& examination);
[[nodiscard]] Finding checkQueryLocale(Examination& examination);

}  // namespace PellixApp
