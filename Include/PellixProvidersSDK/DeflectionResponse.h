#pragma once

#include <PellixProvidersSDK/Deflection.h>
#include <PellixProvidersSDK/DeflectionArticle.h>

#include <memory>
#include <string>
#include <vector>

namespace PellixProvidersSDK {

/// What the answer service replied to a question. Made by decoding alone.
///
/// Ownership: the deflection and the articles are shared; a host may keep any of them.
/// Thread safety: immutable, any thread.
class PELLIX_EXPORT DeflectionResponse final : public PellixPlatform::Object {
 public:
  /// For decoders: reads the record's JSON form. Every key is required.
  explicit DeflectionResponse(const PellixPlatform::Decoder& decoder);

  ~DeflectionResponse() override;

  /// For encoders: writes the record's JSON form.
  void encode(PellixPlatform::Encoder& encoder) const;

  /// Never null.
  [[nodiscard]] const std::shared_ptr<const Deflection>& deflection() const {
    return fields_.deflection;
  }
  /// In the order received, none null; may be empty.
  [[nodiscard]] const std::vector<std::shared_ptr<const DeflectionArticle>>& deflectionArticles()
      const {
    return fields_.deflectionArticles;
  }
  /// The token to resolve or reject with: a secret.
  [[nodiscard]] const std::string& interactionAccessToken() const {
    return fields_.interactionAccessToken;
  }

  /// Equal if `other` is a response with equal deflection, articles (in the same order) and token;
  /// see `DeflectionArticle`.
  [[nodiscard]] bool isEqual(const PellixPlatform::Object* other) const override;

 private:
  struct Fields {
    std::shared_ptr<const Deflection> deflection;
    std::vector<std::shared_ptr<const DeflectionArticle>> deflectionArticles;
    std::string interactionAccessToken;
  };
  struct Keys;

  const Fields fields_;
};

}  // namespace PellixProvidersSDK
