#include "Decode/Rivals.h"

#include <nlohmann/json.hpp>

namespace Benchmarks {

using nlohmann::json;

static void from_json(const json& from, PlainArticle& to) {
  readArticle(to, [&](const char* key, auto& field) {
    from.at(key).get_to(field);
    return true;
  });
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
