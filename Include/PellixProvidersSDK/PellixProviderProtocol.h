#pragma once

#include <PellixPlatform/Export.h>
#include <PellixProvidersSDK/DeflectionResponse.h>
#include <PellixProvidersSDK/PellixDispatcherResponse.h>
#include <PellixProvidersSDK/RejectionReason.h>
#include <PellixProvidersSDK/ResultCallback.h>

#include <cstdint>
#include <string>

namespace PellixProvidersSDK {

/// What a provider offers: the interface for a host to depend on, and to replace in its own tests.
class PELLIX_EXPORT PellixProviderProtocol {
 public:
  virtual ~PellixProviderProtocol();

  /// See `PellixProvider`.
  virtual void getDeflectionForQuery(std::string query,
                                     ResultCallback<DeflectionResponse> callback) = 0;

  /// See `PellixProvider`.
  virtual void resolveWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                                  std::string interactionAccessToken,
                                  ResultCallback<PellixDispatcherResponse> callback) = 0;

  /// See `PellixProvider`.
  virtual void rejectWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                                 std::string interactionAccessToken, RejectionReason reason,
                                 ResultCallback<PellixDispatcherResponse> callback) = 0;

 protected:
  PellixProviderProtocol() = default;
  PellixProviderProtocol(const PellixProviderProtocol&) = default;
  PellixProviderProtocol& operator=(const PellixProviderProtocol&) = default;
};

}  // namespace PellixProvidersSDK
