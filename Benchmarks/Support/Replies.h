#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Benchmarks {

/// What a made-up reply to a question holds.
struct ReplyShape {
  enum class Text { html, japanese };
  enum class Escapes { fewest, allButASCII, angleBrackets };

  std::size_t articles = 3;
  std::size_t bodyBytes = 4096;
  Text text = Text::html;
  Escapes escapes = Escapes::fewest;
  std::size_t labels = 3;
};

/// The reply's JSON.
[[nodiscard]] std::string makeReply(const ReplyShape& shape);

struct NamedReply {
  std::string name;
  std::string json;
};

/// The replies whose decoding is measured.
[[nodiscard]] std::vector<NamedReply> namedReplies();

}  // namespace Benchmarks
