#include <PellixPlatform/DecodingError.h>

namespace PellixPlatform {

std::string_view sentenceOf(DecodingErrorCode code) {
  switch (code) {
    case DecodingErrorCode::keyNotFound:
      return "A required key is missing.";
    case DecodingErrorCode::valueIsNull:
      return "A required value is null.";
    case DecodingErrorCode::typeMismatch:
      return "The value is of another type.";
    case DecodingErrorCode::numberDoesNotFit:
      return "The number has a fraction or is out of range.";
    case DecodingErrorCode::dataCorrupted:
      return "The document is not well formed.";
  }
  return {};
}

}  // namespace PellixPlatform
