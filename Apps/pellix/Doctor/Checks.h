#pragma once

#include "Doctor/Finding.h"
#include "Doctor/Observation.h"
#include "Doctor/Probe.h"

namespace PellixApp {

/// What is known so far: a check leaves here what later ones build on.
struct Diagnosis {
  const Options& options;
  bool hasEndpoints = false;                         ///< The library can make its requests.
  std::shared_ptr<QuorvelCoreSDK::Quorvel> account;  ///< Null: the address can't be served.
  std::optional<Probe> probe;                        ///< With an account.
  std::optional<Observation> observation;            ///< With a connection, from `checkQuery` on.
  std::optional<QuorvelCoreSDK::TransportRequest> query;  ///< As the library makes it.
};

[[nodiscard]] Finding checkResources(Diagnosis& diagnosis);
[[nodiscard]] Finding checkEndpointTable(Diagnosis& diagnosis);
[[nodiscard]] Finding checkLibraryVersion(Diagnosis& diagnosis);

[[nodiscard]] Finding checkAccountAddress(Diagnosis& diagnosis);
[[nodiscard]] Finding checkNameResolution(Diagnosis& diagnosis);
[[nodiscard]] Finding checkConnection(Diagnosis& diagnosis);
[[nodiscard]] Finding checkTLS(Diagnosis& diagnosis);

[[nodiscard]] Finding checkToken(Diagnosis& diagnosis);
[[nodiscard]] Finding checkQuery(Diagnosis& diagnosis);
[[nodiscard]] Finding checkSettings(Diagnosis& diagnosis);
[[nodiscard]] Finding checkFeature(Diagnosis& diagnosis);
[[nodiscard]] Finding checkKnowledgeBase(Diagnosis& diagnosis);
[[nodiscard]] Finding checkQueryLocale(Diagnosis& diagnosis);

}  // namespace PellixApp
