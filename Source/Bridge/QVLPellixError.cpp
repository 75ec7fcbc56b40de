#include <PellixPlatform/internal/Bridge/Text.h>
#include <PellixProvidersSDK/PellixError.h>
#include <PellixProvidersSDK/QVLPellix.h>

const char QVLPellixDisabledErrorDomain[] = "QV_Pellix_Disabled";
const char QVLPellixErrorDomain[] = "com.pellix.providers";
const char QVLPellixErrorStatusCodeKey[] = "status_code";

const char* QVLPellixDisabledError_textForCode(int64_t code, size_t* length) {
  constexpr std::string_view sentence = "The feature is disabled for the account.";
  return PellixPlatform::Bridge::lendSentence(
      code == QVLPellixDisabledErrorCode ? sentence : std::string_view(), length);
}

const char* QVLPellixError_textForCode(int64_t code, size_t* length) {
  return QVLHTTPURLResponse_localizedStringForStatusCode(code, length);
}

static_assert(QVLPellixDisabledErrorCode == PellixProvidersSDK::PellixDisabledErrorCode);
