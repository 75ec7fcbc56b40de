#include "Resources/BundleUtils.h"

#include <PellixProvidersSDK/ResourceBundle.h>

#include <utility>

namespace PellixProvidersSDK {

BundleUtils::BundleUtils(const std::type_info& forObject, std::string atPath)
    : object(forObject), path(std::move(atPath)) {}

const PellixPlatform::Bundle* BundleUtils::bundle() const {
  if (!bundle_) bundle_ = &resourceBundle();
  return bundle_;
}

const PellixPlatform::Bundle* BundleUtils::stringsBundle() const {
  if (!stringsBundle_) stringsBundle_ = bundle();
  return stringsBundle_;
}

}  // namespace PellixProvidersSDK
