#include <PellixProvidersSDK/ResourceBundle.h>

#include <CarriedResources.h>

namespace PellixProvidersSDK {

const PellixPlatform::Bundle& resourceBundle() {
  // Leaked: requests may be made while the process ends.
  static const auto& bundle = *new PellixPlatform::Bundle(carriedResources);
  return bundle;
}

}  // namespace PellixProvidersSDK
