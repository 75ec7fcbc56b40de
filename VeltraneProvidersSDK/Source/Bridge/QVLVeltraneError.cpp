#include <PellixPlatform/internal/Bridge/Text.h>
#include <VeltraneProvidersSDK/QVLVeltrane.h>
#include <VeltraneProvidersSDK/VeltraneError.h>

using enum VeltraneProvidersSDK::VeltraneErrorCode;

const char QVLVeltraneErrorDomain[] = "com.veltrane.providers";

static_assert(QVLVeltraneErrorMissingArticleId == std::to_underlying(missingArticleId));
static_assert(QVLVeltraneErrorNotInitialized == std::to_underlying(notInitialized));
static_assert(QVLVeltraneErrorRefused == std::to_underlying(refused));

const char* QVLVeltraneError_textForCode(int64_t code, size_t* length) {
  return PellixPlatform::Bridge::lendSentence(
      sentenceOf(static_cast<VeltraneProvidersSDK::VeltraneErrorCode>(code)), length);
}
