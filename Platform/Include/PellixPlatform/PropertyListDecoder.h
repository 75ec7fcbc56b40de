#pragma once

#include <PellixPlatform/Decoder.h>

namespace PellixPlatform {

/// Decodes property lists in XML, in UTF-8 or UTF-16. Documents that declare or use entities of
/// their own are refused, and so is the binary form.
///
/// Thread safety: any thread; decoders hold no state.
/// Errors: as for `JSONDecoder`.
class PELLIX_EXPORT PropertyListDecoder : public DecoderFor<PropertyListDecoder> {
  friend DecoderFor<PropertyListDecoder>;
  static std::optional<Error> read(std::string_view data, void* result, Make make);
};

}  // namespace PellixPlatform
