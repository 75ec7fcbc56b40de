#pragma once

#include <PellixPlatform/Export.h>

#include <cstdint>
#include <string_view>

namespace PellixPlatform {

/// The domain of the errors that encoders make.
PELLIX_EXPORT extern const char EncodingErrorDomain[];

/// The codes of that domain.
enum class EncodingErrorCode : std::int64_t {
  invalidText = 1,    ///< A text is not valid UTF-8.
  invalidNumber = 2,  ///< A number is not finite.
};

/// The sentence for a code, or nothing if there is no such code. A NUL follows it.
[[nodiscard]] PELLIX_EXPORT std::string_view sentenceOf(EncodingErrorCode code);

}  // namespace PellixPlatform
