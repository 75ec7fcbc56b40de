#include "Endpoints.h"

#include <fmt/format.h>

#include <utility>

namespace AnswerService {
namespace {

constexpr std::int64_t demoBrand = 4100;

constexpr Member question[] = {
    {"via_id", Member::integer},
    {"deflection_channel_id", Member::integer},
    {"interaction_reference", Member::string},
    {"interaction_reference_type", Member::integer},
    {"enquiry", Member::string},
    {"locale", Member::string},
    {"labels", Member::strings},
    {"brand_id", Member::integer, false},
};
constexpr Member rejection[] = {
    {"deflection_id", Member::integer},
    {"article_id", Member::integer},
    {"resolution_channel_id", Member::integer},
    {"interaction_access_token", Member::string},
    {"reason_id", Member::integer},
};
constexpr auto resolution = std::span(rejection).first(4);

/// What is recorded of a request: its known members, and no token.
Json entryOf(const Json& body, std::span<const Member> members) {
  Json entry;
  for (const Member& member : members) {
    if (member.name == "interaction_access_token" || !body.contains(member.name)) continue;
    entry[std::string(member.name)] = body.at(member.name);
  }
  return entry;
}

void checkArticle(const Call& call, std::int64_t articleId) {
  if (call.articles.contains(articleId)) return;
  throw Refusal(404, "unknown_article",
                fmt::format("There is no article with article_id {}.", articleId));
}

void checkInteraction(const Call& call) {
  const std::string token = call.store.tokenOf(call.body.at("deflection_id"));
  const auto& given = call.body.at("interaction_access_token").get_ref<const std::string&>();
  if (token.empty() || !isToken(given, token)) {
    throw Refusal(403, "unknown_interaction",
                  "There is no deflection_id that has this interaction_access_token.");
  }
  checkArticle(call, call.body.at("article_id"));
}

Json settings(const Call&) {
  return {{"pellix", {{"enabled", true}}},
          {"account", {{"application_id", "demo-application"}, {"name", "Demo"}}}};
}

Json knowledgeSettings(const Call& call) {
  return {{"locale", call.options.defaultLocale}};
}

Json interact(const Call& call) {
  Json found = call.articles.search(call.body.at("locale").get<std::string>(),
                                    call.body.at("enquiry").get<std::string>(),
                                    call.body.value("brand_id", demoBrand));
  Json entry = entryOf(call.body, question);
  entry["article_ids"] = Json::array();
  for (const Json& article : found) entry["article_ids"].push_back(article.at("article_id"));
  const std::string token = randomToken();
  const std::int64_t id = call.store.add("queries", entry, token);
  return {{"deflection", {{"id", id}, {"auth_token", randomToken()}}},
          {"deflection_articles", std::move(found)},
          {"interaction_access_token", token}};
}

Json resolve(const Call& call) {
  checkInteraction(call);
  return {{"resolution",
           {{"id", call.store.add("resolutions", entryOf(call.body, resolution))},
            {"deflection_id", call.body.at("deflection_id")},
            {"article_id", call.body.at("article_id")}}}};
}

Json reject(const Call& call) {
  checkInteraction(call);
  const std::int64_t reason = call.body.at("reason_id");
  if (reason < 0 || reason > 2) {
    throw Refusal(422, "unknown_reason", "The member reason_id must be from 0 to 2.");
  }
  call.store.add("rejections", entryOf(call.body, rejection));
  return nullptr;
}

Json vote(const Call& call) {
  const std::int64_t articleId = std::stoll(call.pathPart);
  checkArticle(call, articleId);
  Json entry = {{"article_id", articleId}, {"value", 1}};
  entry["id"] = call.store.add("votes", entry);
  return {{"votes", Json::array({entry})}};
}

Json record(const Call& call) {
  return call.store.read();
}

constexpr Endpoint table[] = {
    {"settings", "/api/v1/account/settings", settings},
    {"knowledge-settings", "/knowledge/v1/settings", knowledgeSettings},
    {"interaction", "/answers/v1/interactions", interact, true, question},
    {"resolve", "/answers/v1/resolutions", resolve, true, resolution},
    {"reject", "/answers/v1/rejections", reject, true, rejection},
    {"vote", "/knowledge/v1/articles/([0-9]{1,18})/votes/up", vote, true},
    {"record", "/demo/record", record},
};

}  // namespace

std::span<const Endpoint> endpoints() {
  return table;
}

}  // namespace AnswerService
