#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Benchmarks {

/// What a program without the library would keep of an article.
struct PlainArticle {
  std::int64_t id = 0;
  std::string title;
  std::string htmlURL;
  std::string url;
  std::vector<std::string> labelNames;
  std::string body;
  std::int64_t articleId = 0;
  std::string locale;
  std::int64_t brandId = 0;
  double score = 0;
  std::string snippet;
};

/// And of a reply.
struct PlainReply {
  std::int64_t deflectionId = 0;
  std::string authToken;
  std::vector<PlainArticle> articles;
  std::string token;
};

// Careful hand-written decoding, with the parsers that a program would use: nothing if the document
// is malformed, or if a value is missing or of another type.
[[nodiscard]] std::optional<PlainReply> decodeWithSimdjson(std::string_view json);
[[nodiscard]] std::optional<PlainReply> decodeWithRapidJSON(std::string_view json);
[[nodiscard]] std::optional<PlainReply> decodeWithNlohmann(std::string_view json);

/// What no decoder can do without: looks at every byte once, and makes the strings.
[[nodiscard]] PlainReply copyEverything(std::string_view json, const PlainReply& decoded);

}  // namespace Benchmarks
