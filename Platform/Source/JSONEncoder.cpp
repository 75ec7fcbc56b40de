#include "EncodingFailure.h"

#include <PellixPlatform/JSONEncoder.h>

namespace PellixPlatform {

std::expected<Data, Error> JSONEncoder::run(const void* record, Write write) {
  try {
    Encoder encoder;
    write(record, encoder);
    return std::move(encoder.text_);
  } catch (const EncodingFailure& failure) {
    return std::unexpected(failure.error);
  }
}

}  // namespace PellixPlatform
