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

bool read(const object& from, PlainArticle& to) {
  return read(from, "id", to.id) && read(from, "title", to.title) &&
         read(from, "html_url", to.htmlURL) && read(from, "url", to.url) &&
         read(from, "label_names", to.labelNames) && read(from, "body", to.body) &&
         read(from, "article_id", to.articleId) && read(from, "locale", to.locale) &&
         read(from, "brand_id", to.brandId) && read(from, "score", to.score) &&
         read(from, "snippet", to.snippet);
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
    if (value.get(article) || !read(article, reply.articles.emplace_back())) return std::nullopt;
  }
  return reply;
}

}  // namespace Benchmarks
