#include "KnowledgeBase.h"

#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/internal/Once.h>
#include <VeltraneProvidersSDK/QVLLumenoProvider.h>
#include <VeltraneProvidersSDK/internal/ServicePaths.h>

#include <algorithm>
#include <utility>

namespace VeltraneProvidersSDK {
namespace {

struct DecodedVote {
  ArticleVote vote;

  static constexpr std::tuple keys{PellixPlatform::Key{"id", &ArticleVote::id},
                                   PellixPlatform::Key{"article_id", &ArticleVote::articleId},
                                   PellixPlatform::Key{"value", &ArticleVote::value}};
  explicit DecodedVote(const PellixPlatform::Decoder& decoder) : vote(decoder.decode(keys)) {}
};

struct DecodedVotes {
  std::vector<ArticleVote> votes;

  explicit DecodedVotes(const PellixPlatform::Decoder& decoder) {
    for (auto& decoded : decoder.read<std::vector<DecodedVote>>("votes")) {
      votes.push_back(decoded.vote);
    }
  }
};

/// An identifier as one segment of a path: RFC 3986, section 2.1.
std::string percentEncoded(std::string_view text) {
  constexpr std::string_view hex = "0123456789ABCDEF";
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (('0' <= c && c <= '9') || ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z') || c == '-') {
      result += c;
    } else {
      result += {'%', hex[byte >> 4], hex[byte & 0xF]};
    }
  }
  return result;
}

}  // namespace

LumenoProviderProtocol::~LumenoProviderProtocol() = default;
QVLLumenoProvider::QVLLumenoProvider() = default;
QVLLumenoProvider::~QVLLumenoProvider() = default;

void QVLLumenoProvider::upVoteArticle(std::optional<std::string> withId,
                                      VotesCallback withCallback) {
  const auto finish = [call = PellixPlatform::Once(std::move(withCallback))](
                          std::expected<std::vector<ArticleVote>, PellixPlatform::Error> votes) {
    votes ? call(*std::move(votes), std::nullopt) : call(std::nullopt, std::move(votes).error());
  };
  if (!withId || withId->empty()) {
    postWithoutRequest([finish] {
      finish(std::unexpected(makeVeltraneError(VeltraneErrorCode::missingArticleId,
                                               "No article is named to vote for.")));
    });
    return;
  }
  std::string path(ServicePaths::articles);
  path.append(percentEncoded(*withId)).append(ServicePaths::upVoteSuffix);
  postToKnowledgeBase(path, [finish](Reply reply) {
    if (!reply) return finish(std::unexpected(std::move(reply).error()));
    auto decoded = PellixPlatform::JSONDecoder().decode<DecodedVotes>(*reply);
    if (!decoded) return finish(std::unexpected(std::move(decoded).error()));
    finish(std::move(decoded->votes));
  });
}

}  // namespace VeltraneProvidersSDK
