#pragma once

#include <PellixPlatform/Export.h>

#include <cstdint>
#include <string_view>

namespace PellixPlatform {

/// The domain of the errors that decoders make.
PELLIX_EXPORT extern const char DecodingErrorDomain[];

/// The codes of that domain. Besides the sentence for people, user info says where it happened:
/// `codingPath` (as in `articles[1].title`; absent when the whole document is meant), `line` (from
/// 1), `byte` (offset from the start), and where they apply `expected` and `found`.
enum class DecodingErrorCode : std::int64_t {
  keyNotFound = 1,       ///< A required key is missing.
  valueIsNull = 2,       ///< A required value is null.
  typeMismatch = 3,      ///< The value is of another type.
  numberDoesNotFit = 4,  ///< The number has a fraction or is out of range.
  dataCorrupted = 5,     ///< The document is not well formed.
};

/// The sentence for a code, or nothing if there is no such code. A NUL follows it.
[[nodiscard]] PELLIX_EXPORT std::string_view sentenceOf(DecodingErrorCode code);

}  // namespace PellixPlatform
