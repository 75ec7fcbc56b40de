#pragma once

#include <PellixPlatform/Error.h>
#include <PellixPlatform/Export.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace VeltraneProvidersSDK {

/// One vote for an article.
struct ArticleVote {
  std::int64_t id = 0;
  std::int64_t articleId = 0;
  std::int64_t value = 0;  ///< 1 up, -1 down

  friend bool operator==(const ArticleVote&, const ArticleVote&) = default;
};

/// What the knowledge base offers for its articles.
class PELLIX_EXPORT LumenoProviderProtocol {
 public:
  /// The article's votes, or nothing; an error, or nothing.
  using VotesCallback = std::function<void(std::optional<std::vector<ArticleVote>>,
                                           std::optional<PellixPlatform::Error>)>;

  virtual ~LumenoProviderProtocol();

  /// Votes for an article. `withCallback` may be empty; it is called at most once, on a thread of
  /// the implementation's choosing. Thread safety: any thread.
  virtual void upVoteArticle(std::optional<std::string> withId, VotesCallback withCallback) = 0;
};

}  // namespace VeltraneProvidersSDK
