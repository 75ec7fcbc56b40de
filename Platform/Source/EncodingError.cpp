#include <PellixPlatform/EncodingError.h>

namespace PellixPlatform {

const char EncodingErrorDomain[] = "Platform.EncodingError";

std::string_view sentenceOf(EncodingErrorCode code) {
  switch (code) {
    case EncodingErrorCode::invalidText:
      return "A text is not valid UTF-8.";
    case EncodingErrorCode::invalidNumber:
      return "A number is not finite.";
  }
  return {};
}

}  // namespace PellixPlatform
