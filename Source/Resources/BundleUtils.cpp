#include "Resources/BundleUtils.h"

#include <utility>

namespace PellixProvidersSDK {

BundleUtils::BundleUtils(const void* forObject, std::string atPath)
    : object(forObject), path(std::move(atPath)) {}

const Platform::Bundle* BundleUtils::bundle() const {
  if (!bundle_ && object) bundle_ = &Platform::Bundle::containing(object);
  return bundle_;
}

const Platform::Bundle* BundleUtils::stringsBundle() const {
  if (!stringsBundle_) stringsBundle_ = bundle();
  return stringsBundle_;
}

}  // namespace PellixProvidersSDK
