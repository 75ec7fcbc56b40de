#pragma once

#include <PellixPlatform/Export.h>

#include <cstdint>

namespace PellixPlatform {

/// The domain of the errors that encoders make.
PELLIX_EXPORT extern const char EncodingErrorDomain[];

/// The codes of that domain.
enum class EncodingErrorCode : std::int64_t {
  invalidText = 1,    ///< A text is not valid UTF-8.
  invalidNumber = 2,  ///< A number is not finite.
};

}  // namespace PellixPlatform
