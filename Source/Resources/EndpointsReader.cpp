#include "Resources/EndpointsReader.h"

#include "PrintError.h"

#include <PellixPlatform/internal/PropertyListDecoder.h>
#include <PellixProvidersSDK/ResourceBundle.h>

namespace PellixProvidersSDK {

std::unique_ptr<const EndpointsReader> EndpointsReader::make() {
  auto reader = std::make_unique<EndpointsReader>();
  const auto table = resourceBundle().dataForResource("Endpoints", "plist");
  if (!table) return nullptr;
  const auto& data = *table;
  if (!data) {
    printError(data.error());
    return reader;
  }
  auto decoded = PellixPlatform::PropertyListDecoder().decode<std::vector<PellixEndpoint>>(*data);
  if (decoded) {
    reader->endpoints_ = *std::move(decoded);
  } else {
    printError(decoded.error());
  }
  return reader;
}

const EndpointsReader* EndpointsReader::shared() {
  static const EndpointsReader* const reader = make().release();  // never reloaded, never freed
  return reader;
}

}  // namespace PellixProvidersSDK
