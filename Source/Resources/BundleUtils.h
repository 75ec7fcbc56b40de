#pragma once

#include <PellixPlatform/Bundle.h>

#include <string>

namespace PellixProvidersSDK {

/// Where a class's resources and strings are. Declared for completeness: nothing uses it.
class BundleUtils {
 public:
  /// `object` is a static object beside the class that is meant.
  BundleUtils(const void* object, std::string path);

  const void* const object;
  const std::string path;

  /// The bundle that holds `object`. Looked up when first asked for.
  [[nodiscard]] const PellixPlatform::Bundle* bundle() const;
  /// The bundle with the texts: the same one.
  [[nodiscard]] const PellixPlatform::Bundle* stringsBundle() const;

 private:
  mutable const PellixPlatform::Bundle* bundle_ = nullptr;
  mutable const PellixPlatform::Bundle* stringsBundle_ = nullptr;
};

}  // namespace PellixProvidersSDK
