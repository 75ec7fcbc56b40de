#pragma once

#include "ArticleIndex.h"
#include "RecordStore.h"
#include "Reply.h"

#include <nlohmann/json.hpp>

#include <string>

namespace AnswerService {

/// What one request brings, once it has passed its endpoint's checks.
struct Call {
  /// An empty object for endpoints that take no body.
  nlohmann::ordered_json body;
  /// The part of the path that an endpoint's pattern captures.
  std::string pathPart;
};

/// What the endpoints do. Holds no state of its own, so that requests need no order among them.
class Handlers {
 public:
  Handlers(std::string applicationId, std::string defaultLocale, ArticleIndex& articles,
           RecordStore& store);

  [[nodiscard]] Reply settings(const Call& call) const;
  [[nodiscard]] Reply knowledgeSettings(const Call& call) const;
  [[nodiscard]] Reply interaction(const Call& call) const;
  [[nodiscard]] Reply resolve(const Call& call) const;
  [[nodiscard]] Reply reject(const Call& call) const;
  [[nodiscard]] Reply vote(const Call& call) const;

 private:
  void checkDeflection(const nlohmann::ordered_json& body) const;
  void checkArticle(std::int64_t articleId) const;

  const std::string applicationId_;
  const std::string defaultLocale_;
  ArticleIndex& articles_;
  RecordStore& store_;
};

}  // namespace AnswerService
