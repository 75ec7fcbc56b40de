#pragma once

#include "Database.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace AnswerService {

/// The knowledge base, searched with SQLite's full-text tables: one for each language, so that a
/// word's rarity is the one it has among the articles of its own language.
class Articles {
 public:
  /// Puts the articles into temporary tables.
  Articles(const Database& database, std::string defaultLocale);

  /// A few articles for a question, best first, as clients get them. They are in the language of
  /// the locale, or else in that of the default one.
  [[nodiscard]] Json search(std::string_view locale, std::string_view question,
                            std::int64_t brandId) const;

  [[nodiscard]] bool contains(std::int64_t articleId) const;

 private:
  static const char* const sql;

  const Database& database_;
  const std::string defaultLocale_;
};

}  // namespace AnswerService
