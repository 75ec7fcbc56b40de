#pragma once

#include <Platform/Export.h>
#include <PellixProvidersSDK/DeflectionResponse.h>
#include <PellixProvidersSDK/ResultCallback.h>

#include <string>

namespace PellixProvidersSDK {

/// What a provider offers: the interface for a host to depend on, and to replace in its own tests.
class PELLIX_EXPORT PellixProviderProtocol {
 public:
  virtual ~PellixProviderProtocol();

  /// See `PellixProvider`.
  virtual void getDeflectionForQuery(std::string query,
                                     ResultCallback<DeflectionResponse> callback) = 0;

 protected:
  PellixProviderProtocol() = default;
  PellixProviderProtocol(const PellixProviderProtocol&) = default;
  PellixProviderProtocol& operator=(const PellixProviderProtocol&) = default;
};

}  // namespace PellixProvidersSDK
