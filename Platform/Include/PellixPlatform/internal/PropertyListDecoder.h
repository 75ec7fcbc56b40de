#pragma once

#include <PellixPlatform/Decoder.h>

namespace PellixPlatform {

/// Decodes property lists in XML, in UTF-8 or UTF-16; the binary form is refused.
///
/// Keys are matched exactly, unknown keys are ignored, the first of a key given twice counts.
/// Numbers are those of `JSONDecoder`, leading zeros and one `+` allowed. What the text of a
/// number, a date or data is matters only where it is read; dates and data are never.
///
/// Of entities, XML's own five and characters by number are read. A document that declares another
/// is refused, and so is one with another in a text.
///
/// Thread safety: any thread; decoders hold no state.
/// Errors: as for `JSONDecoder`.
class PELLIX_EXPORT PropertyListDecoder : public DecoderFor<PropertyListDecoder> {
  friend DecoderFor<PropertyListDecoder>;
  static std::optional<Error> read(std::string_view data, void* result, Make make);
};

}  // namespace PellixPlatform
