#include "Resources/BundleUtils.h"

#include <utility>

namespace PellixProvidersSDK {

BundleUtils::BundleUtils(const void* forObject, std::string atPath)
    : object(forObject), path(std::move(atPath)) {}

const PellixPlatform::Bundle* BundleUtils::bundle() const {
  if (!bundle_ && object) bundle_ = &PellixPlatform::Bundle::containing(object);
  return bundle_;
}

const PellixPlatform::Bundle* BundleUtils::stringsBundle() const {
  if (!stringsBundle_) stringsBundle_ = bundle();
  return stringsBundle_;
}

}  // namespace PellixProvidersSDK
