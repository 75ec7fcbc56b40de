#pragma once

#include <PellixPlatform/Encoder.h>
#include <PellixPlatform/EncodingError.h>
#include <PellixPlatform/Error.h>

#include <expected>

namespace PellixPlatform {

/// Encodes records as compact JSON (RFC 8259), keys in their declared order.
///
/// Thread safety: any thread; encoders hold no state.
/// Errors: values of `EncodingErrorDomain`. Only `std::bad_alloc` is ever thrown.
class PELLIX_EXPORT JSONEncoder {
 public:
  /// `record` has a member function `void encode(Encoder&) const`.
  template <class T>
  [[nodiscard]] std::expected<Data, Error> encode(const T& record) const {
    return run(&record,
               [](const void* from, Encoder& to) { static_cast<const T*>(from)->encode(to); });
  }

 private:
  using Write = void (*)(const void* record, Encoder& encoder);
  static std::expected<Data, Error> run(const void* record, Write write);
};

}  // namespace PellixPlatform
