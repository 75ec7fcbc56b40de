#include "PropertyListParser.h"
#include "TreeReader.h"

#include <PellixPlatform/internal/PropertyListDecoder.h>

namespace PellixPlatform {

std::optional<Error> PropertyListDecoder::read(std::string_view data, void* result, Make make) {
  try {
    const Tree tree = parsePropertyList(data);
    const TreeReader reader(tree);
    make(result, Decoder(reader, reader.root()));
    return std::nullopt;
  } catch (const DecodingFailure& failure) {
    return failure.error;
  }
}

}  // namespace PellixPlatform
