#pragma once

#include "Doctor/Finding.h"
#include "Doctor/Probe.h"
#include "Doctor/Visit.h"

namespace PellixApp {

/// What is known so far: a check leaves here what later ones build on.
struct Patient {
  const Options& options;
  bool hasEndpoints = false;                         ///< The library can make its requests.
  std::shared_ptr<QuorvelCoreSDK::Quorvel> account;  ///< Null: the address can't be served.
  std::optional<Probe> probe;                        ///< With an account.
  std::optional<Visit> visit;                        ///< With a connection, from `checkQuery` on.
  std::optional<QuorvelCoreSDK::TransportRequest> query;  ///< As the library makes it.
};

[[nodiscard]] Finding checkResources(Patient& patient);
[[nodiscard]] Finding checkEndpointTable(Patient& patient);
[[nodiscard]] Finding checkLibraryVersion(Patient& patient);

[[nodiscard]] Finding checkAccountAddress(Patient& patient);
[[nodiscard]] Finding checkNameResolution(Patient& patient);
[[nodiscard]] Finding checkConnection(Patient& patient);
[[nodiscard]] Finding checkTLS(Patient& patient);

[[nodiscard]] Finding checkToken(Patient& patient);
[[nodiscard]] Finding checkQuery(Patient& patient);
[[nodiscard]] Finding checkSettings(Patient& patient);
[[nodiscard]] Finding checkFeature(Patient& patient);
[[nodiscard]] Finding checkKnowledgeBase(Patient& patient);
[[nodiscard]] Finding checkQueryLocale(Patient& patient);

}  // namespace PellixApp
