#pragma once

#include <span>
#include <string_view>

namespace AnswerService {

/// A help-centre article as its author wrote it.
struct Article {
  std::string_view title;
  /// Separated by commas, without spaces around them.
  std::string_view labels;
  /// HTML.
  std::string_view body;
};

/// Articles get their ids from their position: new ones go to the end.
std::span<const Article> englishArticles();
std::span<const Article> germanArticles();
std::span<const Article> japaneseArticles();

}  // namespace AnswerService
