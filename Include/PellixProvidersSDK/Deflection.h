#pragma once

#include <PellixPlatform/Decoder.h>
#include <PellixPlatform/Encoder.h>
#include <PellixPlatform/Object.h>

#include <cstdint>
#include <string>

namespace PellixProvidersSDK {

/// The deflection that the answer service opened for a question. Made by decoding alone.
///
/// Its encoded form and its equality hold a token that no accessor shows.
/// Thread safety: immutable, any thread.
class PELLIX_EXPORT Deflection final : public PellixPlatform::Object {
 public:
  /// For decoders: reads the record's JSON form. Every key is required.
  explicit Deflection(const PellixPlatform::Decoder& decoder);

  ~Deflection() override;

  /// For encoders: writes the record's JSON form, the token included.
  void encode(PellixPlatform::Encoder& encoder) const;

  /// The identifier to resolve or reject with.
  [[nodiscard]] std::int64_t deflectionID() const { return fields_.deflectionID; }

  /// Equal if `other` is a deflection with the same identifier and token; see `DeflectionArticle`.
  [[nodiscard]] bool isEqual(const PellixPlatform::Object* other) const override;

 private:
  struct Fields {
    std::int64_t deflectionID;
    std::string authToken;
  };
  struct Keys;

  const Fields fields_;
};

}  // namespace PellixProvidersSDK
