#include "Resources/EndpointsReader.h"

#include "PrintError.h"

#include <PellixPlatform/Bundle.h>
#include <PellixPlatform/File.h>
#include <PellixPlatform/PropertyListDecoder.h>

namespace PellixProvidersSDK {
namespace {

constexpr char anchor = 0;  // stands for the class where its bundle is looked for

}  // namespace

std::unique_ptr<const EndpointsReader> EndpointsReader::make() {
  auto reader = std::make_unique<EndpointsReader>();
  const auto path =
      PellixPlatform::Bundle::containing(&anchor).pathForResource("Endpoints", "plist");
  if (!path) return nullptr;
  const auto data = PellixPlatform::readFile(*path);
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
