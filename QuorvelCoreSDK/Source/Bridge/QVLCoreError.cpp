#include <PellixPlatform/internal/Bridge/Text.h>
#include <QuorvelCoreSDK/CoreError.h>
#include <QuorvelCoreSDK/QVLQuorvelCore.h>

const char QVLCoreErrorDomain[] = "com.quorvel.core";

const char* QVLCoreError_textForCode(int64_t code, size_t* length) {
  return PellixPlatform::Bridge::lendSentence(
      sentenceOf(static_cast<QuorvelCoreSDK::CoreErrorCode>(code)), length);
}
