#include "LibraryVersion.h"

#include <PellixPlatform/Bundle.h>

namespace PellixProvidersSDK {

std::string libraryVersion(const void* classAnchor) {
  const auto& bundle = PellixPlatform::Bundle::containing(classAnchor);
  const auto value = bundle.objectForInfoDictionaryKey("CFBundleShortVersionString");
  const auto* version = value ? std::get_if<std::string>(&*value) : nullptr;
  return version ? *version : "1.0.0-default";
}

}  // namespace PellixProvidersSDK
