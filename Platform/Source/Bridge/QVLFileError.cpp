#include "System.h"

#include <PellixPlatform/QVLPlatform.h>
#include <PellixPlatform/internal/Bridge/Text.h>

const char QVLFileErrorDomain[] = "Platform.FileError";

const char* QVLFileError_textForCode(int64_t code, size_t* length) {
  return PellixPlatform::Bridge::lendSentence(PellixPlatform::System::errorText(code), length);
}
