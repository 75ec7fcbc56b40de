#include "Handlers.h"

#include "RandomToken.h"

#include <fmt/format.h>

#include <charconv>
#include <utility>

namespace AnswerService {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kMostArticles = 5;
constexpr std::int64_t kDemoBrand = 4100;
constexpr std::int64_t kLargestReason = 2;

/// A host under a name that is reserved for examples: the articles have no pages of their own.
std::string articleUrl(std::string_view kind, const FoundArticle& article) {
  return fmt::format("https://help.example/{}/{}/{}", kind, article.locale, article.articleId);
}

Json toJson(const FoundArticle& article, std::int64_t brandId) {
  return {{"id", article.suggestionId},
          {"title", article.title},
          {"html_url", articleUrl("pages", article)},
          {"url", articleUrl("articles", article) + ".json"},
          {"label_names", article.labels},
          {"body", article.body},
          {"article_id", article.articleId},
          {"locale", article.locale},
          {"brand_id", brandId},
          {"score", article.score},
          {"snippet", article.snippet}};
}

Query queryFrom(const Json& body) {
  Query query;
  query.viaId = body.at("via_id");
  query.deflectionChannelId = body.at("deflection_channel_id");
  query.interactionReference = body.at("interaction_reference");
  query.interactionReferenceType = body.at("interaction_reference_type");
  query.enquiry = body.at("enquiry");
  query.locale = body.at("locale");
  query.labels = body.at("labels").get<std::vector<std::string>>();
  if (body.contains("brand_id")) query.brandId = body.at("brand_id").get<std::int64_t>();
  return query;
}

}  // namespace

Handlers::Handlers(std::string applicationId, std::string defaultLocale, ArticleIndex& articles,
                   RecordStore& store)
    : applicationId_(std::move(applicationId)),
      defaultLocale_(std::move(defaultLocale)),
      articles_(articles),
      store_(store) {}

Reply Handlers::settings(const Call&) const {
  return jsonReply(200, {{"pellix", {{"enabled", true}}},
                         {"account", {{"application_id", applicationId_}, {"name", "Demo"}}}});
}

Reply Handlers::knowledgeSettings(const Call&) const {
  return jsonReply(200, {{"locale", defaultLocale_}});
}

Reply Handlers::interaction(const Call& call) const {
  Query query = queryFrom(call.body);
  query.answeredLocale = articles_.localeFor(query.locale);
  const std::vector<FoundArticle> found =
      articles_.search(query.answeredLocale, query.enquiry, kMostArticles);

  Json suggestions = Json::array();
  for (const FoundArticle& article : found) {
    suggestions.push_back(toJson(article, query.brandId.value_or(kDemoBrand)));
    query.articleIds.push_back(article.articleId);
  }
  const std::string interactionToken = randomToken();
  const std::int64_t deflectionId = store_.add(query, interactionToken);
  return jsonReply(200, {{"deflection", {{"id", deflectionId}, {"auth_token", randomToken()}}},
                         {"deflection_articles", std::move(suggestions)},
                         {"interaction_access_token", interactionToken}});
}

Reply Handlers::resolve(const Call& call) const {
  checkDeflection(call.body);
  const Resolution resolution{.deflectionId = call.body.at("deflection_id"),
                              .articleId = call.body.at("article_id"),
                              .resolutionChannelId = call.body.at("resolution_channel_id")};
  checkArticle(resolution.articleId);
  return jsonReply(200, {{"resolution",
                          {{"id", store_.add(resolution)},
                           {"deflection_id", resolution.deflectionId},
                           {"article_id", resolution.articleId}}}});
}

Reply Handlers::reject(const Call& call) const {
  checkDeflection(call.body);
  const Rejection rejection{.deflectionId = call.body.at("deflection_id"),
                            .articleId = call.body.at("article_id"),
                            .resolutionChannelId = call.body.at("resolution_channel_id"),
                            .reasonId = call.body.at("reason_id")};
  checkArticle(rejection.articleId);
  if (rejection.reasonId < 0 || rejection.reasonId > kLargestReason) {
    throw Refusal(422, "unknown_reason",
                  fmt::format("The member reason_id must be from 0 to {}.", kLargestReason));
  }
  store_.add(rejection);
  return {.status = 204};
}

Reply Handlers::vote(const Call& call) const {
  Vote vote{.value = 1};
  const char* const end = call.pathPart.data() + call.pathPart.size();
  const auto [stopped, error] = std::from_chars(call.pathPart.data(), end, vote.articleId);
  if (error != std::errc() || stopped != end) {
    throw Refusal(404, "unknown_article", "The article id in the path is not a number.");
  }
  checkArticle(vote.articleId);
  vote.id = store_.add(vote);
  const Json entry = {{"id", vote.id}, {"article_id", vote.articleId}, {"value", vote.value}};
  return jsonReply(200, {{"votes", Json::array({entry})}});
}

void Handlers::checkDeflection(const Json& body) const {
  const std::int64_t deflectionId = body.at("deflection_id");
  const std::optional<std::string> token = store_.interactionToken(deflectionId);
  if (!token) {
    throw Refusal(404, "unknown_deflection",
                  fmt::format("There is no deflection with deflection_id {}.", deflectionId));
  }
  if (*token != body.at("interaction_access_token").get_ref<const std::string&>()) {
    throw Refusal(403, "wrong_interaction_token",
                  "The member interaction_access_token is not the one of this deflection.");
  }
}

void Handlers::checkArticle(std::int64_t articleId) const {
  if (articles_.contains(articleId)) return;
  throw Refusal(404, "unknown_article",
                fmt::format("There is no article with article_id {}.", articleId));
}

}  // namespace AnswerService
