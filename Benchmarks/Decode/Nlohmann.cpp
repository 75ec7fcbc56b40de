#include "Decode/Rivals.h"

#include <nlohmann/json.hpp>

namespace Benchmarks {

using nlohmann::json;

static void from_json(const json& from, PlainArticle& to) {
  from.at("id").get_to(to.id);
  from.at("title").get_to(to.title);
  from.at("html_url").get_to(to.htmlURL);
  from.at("url").get_to(to.url);
  from.at("label_names").get_to(to.labelNames);
  from.at("body").get_to(to.body);
  from.at("article_id").get_to(to.articleId);
  from.at("locale").get_to(to.locale);
  from.at("brand_id").get_to(to.brandId);
  from.at("score").get_to(to.score);
  from.at("snippet").get_to(to.snippet);
}

std::optional<PlainReply> decodeWithNlohmann(std::string_view text) {
  try {
    const auto root = json::parse(text);
    PlainReply reply;
    const auto& deflection = root.at("deflection");
    deflection.at("id").get_to(reply.deflectionId);
    deflection.at("auth_token").get_to(reply.authToken);
    root.at("deflection_articles").get_to(reply.articles);
    root.at("interaction_access_token").get_to(reply.token);
    return reply;
  } catch (const json::exception&) {
    return std::nullopt;
  }
}

}  // namespace Benchmarks
