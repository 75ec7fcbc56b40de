#include <PellixPlatform/DecodingError.h>
#include <PellixPlatform/QVLPlatform.h>
#include <PellixPlatform/internal/Bridge/Text.h>

using enum PellixPlatform::DecodingErrorCode;

const char QVLDecodingErrorDomain[] = "Platform.DecodingError";
const char QVLDecodingErrorCodingPathKey[] = "codingPath";
const char QVLDecodingErrorLineKey[] = "line";
const char QVLDecodingErrorByteKey[] = "byte";
const char QVLDecodingErrorExpectedKey[] = "expected";
const char QVLDecodingErrorFoundKey[] = "found";

static_assert(QVLDecodingErrorKeyNotFound == std::to_underlying(keyNotFound));
static_assert(QVLDecodingErrorValueIsNull == std::to_underlying(valueIsNull));
static_assert(QVLDecodingErrorTypeMismatch == std::to_underlying(typeMismatch));
static_assert(QVLDecodingErrorNumberDoesNotFit == std::to_underlying(numberDoesNotFit));
static_assert(QVLDecodingErrorDataCorrupted == std::to_underlying(dataCorrupted));

const char* QVLDecodingError_textForCode(int64_t code, size_t* length) {
  return PellixPlatform::Bridge::lendSentence(
      sentenceOf(static_cast<PellixPlatform::DecodingErrorCode>(code)), length);
}
