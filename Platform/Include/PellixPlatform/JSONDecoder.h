#pragma once

#include <PellixPlatform/Decoder.h>

namespace PellixPlatform {

/// Decodes JSON (RFC 8259) in UTF-8, a leading byte-order mark allowed.
///
/// Keys are matched exactly, unknown keys are ignored, the first of a key given twice counts. An
/// integer is any number without a fraction that fits, whether written `100`, `100.0` or `1e2`, and
/// is read without loss. Numbers and depths that are out of bounds matter only where they are read.
///
/// Thread safety: any thread; decoders hold no state.
/// Errors: values of `DecodingErrorDomain`; a document that is malformed anywhere gives
/// `dataCorrupted` before any key is looked at. Only `std::bad_alloc` is ever thrown.
class PELLIX_EXPORT JSONDecoder : public DecoderFor<JSONDecoder> {
  friend DecoderFor<JSONDecoder>;
  static std::optional<Error> read(std::string_view data, void* result, Make make);
};

}  // namespace PellixPlatform
