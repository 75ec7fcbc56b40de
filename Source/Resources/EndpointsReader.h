#pragma once

#include "Resources/PellixEndpoint.h"

#include <memory>
#include <vector>

namespace PellixProvidersSDK {

/// The endpoint table in the library's resources, read once for each process.
class EndpointsReader {
 public:
  /// The one reader, made by the first call and never again; null if there is no such resource.
  [[nodiscard]] static const EndpointsReader* shared();

  /// In the resource's order; empty if it can't be read or decoded.
  [[nodiscard]] const std::vector<PellixEndpoint>& endpoints() const { return endpoints_; }

 private:
  [[nodiscard]] static std::unique_ptr<const EndpointsReader> make();

  std::vector<PellixEndpoint> endpoints_;
};

}  // namespace PellixProvidersSDK
