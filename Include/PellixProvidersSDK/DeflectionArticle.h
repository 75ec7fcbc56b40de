#pragma once

#include <PellixPlatform/Decoder.h>
#include <PellixPlatform/Encoder.h>
#include <PellixPlatform/Object.h>

#include <cstdint>
#include <string>
#include <vector>

namespace PellixProvidersSDK {

/// One knowledge-base article that may answer a question.
///
/// Thread safety: immutable, any thread.
class PELLIX_EXPORT DeflectionArticle final : public PellixPlatform::Object {
 public:
  struct Fields {
    std::int64_t id;
    std::string title;
    std::string htmlURL;
    std::string url;
    std::vector<std::string> labelNames;
    std::string body;
    std::int64_t articleId;
    std::string locale;
    std::int64_t brandId;
    double score;
    std::string snippet;
  };

  /// Stores the values as they are, unchecked.
  explicit DeflectionArticle(Fields fields);

  /// For decoders: reads the record's JSON form. Every key is required.
  explicit DeflectionArticle(const PellixPlatform::Decoder& decoder);

  ~DeflectionArticle() override;

  /// For encoders: writes the record's JSON form.
  void encode(PellixPlatform::Encoder& encoder) const;

  /// The identifier of the proposal; another one than the article's.
  [[nodiscard]] std::int64_t id() const { return fields_.id; }
  [[nodiscard]] const std::string& title() const { return fields_.title; }
  /// The article's page for people, as received: neither parsed nor checked.
  [[nodiscard]] const std::string& htmlURL() const { return fields_.htmlURL; }
  /// The article's address for programs, as received.
  [[nodiscard]] const std::string& url() const { return fields_.url; }
  [[nodiscard]] const std::vector<std::string>& labelNames() const { return fields_.labelNames; }
  /// HTML, as received.
  [[nodiscard]] const std::string& body() const { return fields_.body; }
  /// The identifier of the article in the knowledge base: the one to resolve or reject with.
  [[nodiscard]] std::int64_t articleId() const { return fields_.articleId; }
  [[nodiscard]] const std::string& locale() const { return fields_.locale; }
  [[nodiscard]] std::int64_t brandId() const { return fields_.brandId; }
  /// How well the article answers; more is better, the scale is the service's.
  [[nodiscard]] double score() const { return fields_.score; }
  /// HTML, as received.
  [[nodiscard]] const std::string& snippet() const { return fields_.snippet; }

  /// Equal if `other` is an article whose fields are all equal: texts by canonical equivalence, the
  /// score as a number (NaN equals nothing, not even in the same article). `hash` goes by identity
  /// all the same.
  [[nodiscard]] bool isEqual(const PellixPlatform::Object* other) const override;

 private:
  const Fields fields_;
};

}  // namespace PellixProvidersSDK
