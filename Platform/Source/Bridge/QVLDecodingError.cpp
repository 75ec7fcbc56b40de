#include <PellixPlatform/DecodingError.h>
#include <PellixPlatform/QVLPlatform.h>
#include <PellixPlatform/internal/Bridge/Text.h>

const char QVLDecodingErrorDomain[] = "Platform.DecodingError";
const char QVLDecodingErrorCodingPathKey[] = "codingPath";
const char QVLDecodingErrorLineKey[] = "line";
const char QVLDecodingErrorByteKey[] = "byte";
const char QVLDecodingErrorExpectedKey[] = "expected";
const char QVLDecodingErrorFoundKey[] = "found";

const char* QVLDecodingError_textForCode(int64_t code, size_t* length) {
  return PellixPlatform::Bridge::lendSentence(
      sentenceOf(static_cast<PellixPlatform::DecodingErrorCode>(code)), length);
}
