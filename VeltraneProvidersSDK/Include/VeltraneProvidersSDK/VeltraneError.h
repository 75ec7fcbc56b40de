#pragma once

#include <PellixPlatform/Export.h>

#include <cstdint>
#include <string_view>

namespace VeltraneProvidersSDK {

/// The domain of this library's own errors.
PELLIX_EXPORT extern const char VeltraneErrorDomain[];

/// The codes of that domain.
enum class VeltraneErrorCode : std::int64_t {
  missingArticleId = 1,  ///< No article is named.
  notInitialized = 2,    ///< This library has no instance.
  refused = 3,           ///< The knowledge base answered with another status than success.
};

/// The sentence for a code, or nothing if there is no such code. A NUL follows it.
[[nodiscard]] PELLIX_EXPORT std::string_view sentenceOf(VeltraneErrorCode code);

}  // namespace VeltraneProvidersSDK
