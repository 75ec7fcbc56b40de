#pragma once

#include <Platform/Bundle.h>

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
  [[nodiscard]] const Platform::Bundle* bundle() const;
  /// The bundle with the texts: the same one.
  [[nodiscard]] const Platform::Bundle* stringsBundle() const;

 private:
  mutable const Platform::Bundle* bundle_ = nullptr;
  mutable const Platform::Bundle* stringsBundle_ = nullptr;
};

}  // namespace PellixProvidersSDK
