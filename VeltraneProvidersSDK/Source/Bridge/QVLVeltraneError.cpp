#include <PellixPlatform/internal/Bridge/Text.h>
#include <VeltraneProvidersSDK/QVLVeltrane.h>
#include <VeltraneProvidersSDK/VeltraneError.h>

const char QVLVeltraneErrorDomain[] = "com.veltrane.providers";

const char* QVLVeltraneError_textForCode(int64_t code, size_t* length) {
  return PellixPlatform::Bridge::lendSentence(
      sentenceOf(static_cast<VeltraneProvidersSDK::VeltraneErrorCode>(code)), length);
}
