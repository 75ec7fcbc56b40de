#include "Decode/Rivals.h"

#include <simdjson.h>

namespace Benchmarks {
namespace {

using simdjson::dom::element;
using simdjson::dom::object;

template <class T>
bool read(const object& from, std::string_view key, T& to) {
  return from.at_key(key).get(to) == simdjson::SUCCESS;
}

bool read(const object& from, std::string_view key, std::string& to) {
  std::string_view text;
  if (!read(from, key, text)) return false;
  to = text;
  return true;
}

bool read(const object& from, std::string_view key, std::vector<std::string>& to) {
  simdjson::dom::array list;
  if (!read(from, key, list)) return false;
  to.reserve(list.size());
  for (const element value : list) {
    std::string_view text;
    if (value.get(text)) return false;
    to.emplace_back(text);
  }
  return true;
}

}  // namespace

std::optional<PlainReply> decodeWithSimdjson(std::string_view json) {
  static simdjson::dom::parser parser;
  PlainReply reply;
  object root;
  object deflection;
  simdjson::dom::array articles;
  if (parser.parse(json.data(), json.size()).get(root) || !read(root, "deflection", deflection) ||
      !read(deflection, "id", reply.deflectionId) ||
      !read(deflection, "auth_token", reply.authToken) ||
      !read(root, "deflection_articles", articles) ||
      !read(root, "interaction_access_token", reply.token)) {
    return std::nullopt;
  }
  reply.articles.reserve(articles.size());
  for (const element value : articles) {
    object article;
    const auto readField = [&](std::string_view key, auto& to) { return read(article, key, to); };
    if (value.get(article) || !readArticle(reply.articles.emplace_back(), readField)) {
      return std::nullopt;
    }
  }
  return reply;
}

}  // namespace Benchmarks
