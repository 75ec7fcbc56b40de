#include "LibraryVersion.h"

namespace PellixProvidersSDK {

std::string libraryVersion(const PellixPlatform::Bundle& bundle) {
  const auto value = bundle.objectForInfoDictionaryKey("CFBundleShortVersionString");
  const auto* version = value ? std::get_if<std::string>(&*value) : nullptr;
  return version ? *version : "1.0.0-default";
}

}  // namespace PellixProvidersSDK
