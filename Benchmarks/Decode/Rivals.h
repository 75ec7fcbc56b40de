#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Benchmarks {

/// What a program without the library would keep of an article, and of a reply.
struct PlainArticle {
  std::int64_t id = 0;
  std::string title, htmlURL, url;
  std::vector<std::string> labelNames;
  std::string body;
  std::int64_t articleId = 0;
  std::string locale;
  std::int64_t brandId = 0;
  double score = 0;
  std::string snippet;
};

struct PlainReply {
  std::int64_t deflectionId = 0;
  std::string authToken;
  std::vector<PlainArticle> articles;
  std::string token;
};

/// Reads an article's fields one after the other with `read(key, field)`, until that gives false.
template <class Article, class Read>
bool readArticle(Article& to, const Read& read) {
  return read("id", to.id) && read("title", to.title) && read("html_url", to.htmlURL) &&
         read("url", to.url) && read("label_names", to.labelNames) && read("body", to.body) &&
         read("article_id", to.articleId) && read("locale", to.locale) &&
         read("brand_id", to.brandId) && read("score", to.score) && read("snippet", to.snippet);
}

// Careful hand-written decoding, with the parsers that a program would use: nothing if the document
// is malformed, or if a value is missing or of another type.
[[nodiscard]] std::optional<PlainReply> decodeWithSimdjson(std::string_view json);
[[nodiscard]] std::optional<PlainReply> decodeWithRapidJSON(std::string_view json);
[[nodiscard]] std::optional<PlainReply> decodeWithNlohmann(std::string_view json);

}  // namespace Benchmarks
