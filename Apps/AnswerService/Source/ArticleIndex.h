#pragma once

#include "Database.h"
#include "Languages.h"
#include "SearchTerms.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace AnswerService {

struct FoundArticle {
  std::int64_t suggestionId = 0;
  std::int64_t articleId = 0;
  std::string locale;
  std::string title;
  std::vector<std::string> labels;
  std::string body;     ///< HTML.
  double score = 0;     ///< Positive; the higher the better.
  std::string snippet;  ///< HTML with <em>.
};

/// The knowledge base, searched with SQLite's full-text tables: one for each language, so that a
/// word's rarity is the one it has among the articles of its own language.
class ArticleIndex {
 public:
  /// Writes the articles into the database anew.
  ArticleIndex(Database& database, std::string_view defaultLocale);

  /// The locale in which a question of that locale is answered: itself, another one of its
  /// language, or the default.
  [[nodiscard]] std::string localeFor(std::string_view locale) const;

  /// Best first. The locale is one that localeFor() returned.
  [[nodiscard]] std::vector<FoundArticle> search(std::string_view locale, std::string_view question,
                                                 std::size_t atMost) const;

  [[nodiscard]] bool contains(std::int64_t articleId) const;

 private:
  struct Match {
    double score = 0;
    std::string snippet;
  };
  using Matches = std::map<std::int64_t, Match>;

  void addLanguage(const Language& language);
  void addMatches(const Language& language, const SearchTerms& terms, Matches& matches) const;
  void addFragment(const Language& language, const std::string& fragment, Matches& matches) const;
  [[nodiscard]] FoundArticle read(std::int64_t articleId, const Match& match,
                                  const Language& language, const SearchTerms& terms) const;

  Database& database_;
  const Language& defaultLanguage_;
};

}  // namespace AnswerService
