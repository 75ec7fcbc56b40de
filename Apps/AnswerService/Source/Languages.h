#pragma once

#include "Articles.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace AnswerService {

/// What the search has to know about one language of the knowledge base.
struct Language {
  std::string_view locale;
  /// The full-text table of the language's articles.
  std::string_view table;
  /// FTS5's way to split its articles.
  std::string_view tokenizer;
  /// False: questions are one run of characters, to be split where the script changes.
  bool separatesWords;
  /// Words that say nothing of what a question is about.
  std::span<const std::string_view> stopWords;
  /// Endings taken off a word, so that its other forms are found too; the longest first.
  std::span<const std::string_view> endings;
  std::int64_t firstArticleId;
  /// Suggestions have ids of their own, apart from those of the articles.
  std::int64_t firstSuggestionId;
  std::span<const Article> (*articles)();
};

/// The last resort is the first one.
std::span<const Language> languages();

}  // namespace AnswerService
