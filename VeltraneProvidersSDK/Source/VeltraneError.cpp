#include <VeltraneProvidersSDK/VeltraneError.h>

namespace VeltraneProvidersSDK {

std::string_view sentenceOf(VeltraneErrorCode code) {
  switch (code) {
    case VeltraneErrorCode::missingArticleId:
      return "No article is named.";
    case VeltraneErrorCode::notInitialized:
      return "This library has no instance.";
    case VeltraneErrorCode::refused:
      return "The knowledge base answered with another status than success.";
  }
  return {};
}

}  // namespace VeltraneProvidersSDK
