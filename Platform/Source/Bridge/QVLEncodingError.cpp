#include <PellixPlatform/EncodingError.h>
#include <PellixPlatform/QVLPlatform.h>
#include <PellixPlatform/internal/Bridge/Text.h>

const char QVLEncodingErrorDomain[] = "Platform.EncodingError";

const char* QVLEncodingError_textForCode(int64_t code, size_t* length) {
  return PellixPlatform::Bridge::lendSentence(
      sentenceOf(static_cast<PellixPlatform::EncodingErrorCode>(code)), length);
}
