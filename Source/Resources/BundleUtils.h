#pragma once

#include <PellixPlatform/Bundle.h>

#include <string>
#include <typeinfo>

namespace PellixProvidersSDK {

/// Where a class's resources and strings are. Declared for completeness: nothing uses it.
class BundleUtils {
 public:
  /// `object` is the class that is meant, one of this library's.
  BundleUtils(const std::type_info& object, std::string path);

  const std::type_info& object;
  const std::string path;

  /// The bundle that `object` belongs to: this library's. Looked up when first asked for.
  [[nodiscard]] const PellixPlatform::Bundle* bundle() const;
  /// The bundle with the texts: the same one.
  [[nodiscard]] const PellixPlatform::Bundle* stringsBundle() const;

 private:
  mutable const PellixPlatform::Bundle* bundle_ = nullptr;
  mutable const PellixPlatform::Bundle* stringsBundle_ = nullptr;
};

}  // namespace PellixProvidersSDK
