#include "ArticleIndex.h"

#include "Emphasis.h"
#include "Unicode.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace AnswerService {
namespace {

/// How much a term counts in the title, the labels and the body.
constexpr double kTitle = 8;
constexpr double kLabels = 4;
constexpr double kBody = 1;

/// In a small knowledge base, a word may be in most articles, and bm25 then gives it no weight at
/// all; a title that has it still tells what its article is about.
constexpr double kTitleBonus = 0.5;

/// Articles this much worse than the best one share no more than a common word with the question.
constexpr double kWorstShareOfBest = 0.15;

std::string lowerHyphenated(std::string_view locale) {
  std::string normal(locale);
  std::ranges::transform(normal, normal.begin(), [](char c) {
    return c == '_' ? '-' : static_cast<char>(simpleLower(static_cast<unsigned char>(c) & 0x7FU));
  });
  return normal;
}

std::string languagePart(const std::string& locale) {
  return locale.substr(0, locale.find('-'));
}

/// The language of this very locale, or else one of the same language; null when there is none.
const Language* findLanguage(std::string_view locale) {
  const std::string wanted = lowerHyphenated(locale);
  for (const Language& language : languages()) {
    if (language.locale == wanted) return &language;
  }
  for (const Language& language : languages()) {
    if (languagePart(std::string(language.locale)) == languagePart(wanted)) return &language;
  }
  return nullptr;
}

std::vector<std::string> splitLabels(std::string_view labels) {
  std::vector<std::string> list;
  for (std::size_t at = 0; at < labels.size();) {
    const std::size_t end = std::min(labels.find(',', at), labels.size());
    list.emplace_back(labels.substr(at, end - at));
    at = end + 1;
  }
  return list;
}

bool separatesText(std::string_view tag) {
  constexpr std::string_view kInline[] = {"a", "em", "strong"};
  if (tag.starts_with('/')) tag.remove_prefix(1);
  const std::string_view name = tag.substr(0, tag.find_first_of(" \n"));
  return std::ranges::find(kInline, name) == std::end(kInline);
}

/// Character references stay as they are, so that the text is HTML still, only without elements.
std::string withoutTags(std::string_view html) {
  std::string text;
  const auto addBlank = [&text] {
    if (!text.empty() && text.back() != ' ') text += ' ';
  };
  for (std::size_t at = 0; at < html.size(); ++at) {
    if (html[at] == '<') {
      const std::size_t end = std::min(html.find('>', at), html.size());
      if (separatesText(html.substr(at + 1, end - at - 1))) addBlank();
      at = end;
    } else if (html[at] == '\n' || html[at] == ' ') {
      addBlank();
    } else {
      text += html[at];
    }
  }
  return text;
}

/// The lines are broken for whoever edits the articles. Where words are not separated, a break
/// in the middle of a sentence would show as a gap, and hide a word from the search.
std::string bodyOf(const Language& language, const Article& article) {
  std::string body(article.body.substr(article.body.find_first_not_of('\n')));
  if (!language.separatesWords) std::erase(body, '\n');
  return body;
}

/// Quoted one by one, so that none of the terms is read as an operator.
std::string matchTerm(const Language& language, const std::string& term) {
  return fmt::format("\"{}\"{}", term, language.separatesWords ? " *" : "");
}

std::string matchAny(const Language& language, const std::vector<std::string>& terms) {
  std::string expression;
  for (const std::string& term : terms) {
    expression += (expression.empty() ? "" : " OR ") + matchTerm(language, term);
  }
  return expression;
}

/// The body's, unless only the title shows a term.
std::string betterSnippet(std::string ofBody, std::string ofTitle) {
  const auto showsTerm = [](const std::string& text) { return text.contains("<em>"); };
  return !showsTerm(ofBody) && showsTerm(ofTitle) ? std::move(ofTitle) : std::move(ofBody);
}

/// What bm25 gives for one term, with the lengths of the articles taken for equal.
double fragmentScore(double articles, double containing, double weightedHits) {
  constexpr double kSaturation = 1.2;
  const double rarity = std::log(1 + (articles - containing + 0.5) / (containing + 0.5));
  return rarity * weightedHits * (kSaturation + 1) / (weightedHits + kSaturation);
}

}  // namespace

ArticleIndex::ArticleIndex(Database& database, std::string_view defaultLocale)
    : database_(database),
      defaultLanguage_(findLanguage(defaultLocale) ? *findLanguage(defaultLocale)
                                                   : languages().front()) {
  database_.execute(
      "BEGIN; DROP TABLE IF EXISTS articles; CREATE TABLE articles("
      "article_id INTEGER PRIMARY KEY, suggestion_id, locale, title, labels, body)");
  for (const Language& language : languages()) addLanguage(language);
  database_.execute("COMMIT");
}

void ArticleIndex::addLanguage(const Language& language) {
  database_.execute(
      fmt::format("DROP TABLE IF EXISTS {0}; CREATE VIRTUAL TABLE {0} USING "
                  "fts5(title, labels, body, tokenize = '{1}')",
                  language.table, language.tokenizer));
  std::int64_t position = 0;
  for (const Article& article : language.articles()) {
    const std::int64_t articleId = language.firstArticleId + position;
    const std::string body = bodyOf(language, article);
    Statement(database_, "INSERT INTO articles VALUES(?,?,?,?,?,?)", articleId,
              language.firstSuggestionId + position, language.locale, article.title, article.labels,
              body)
        .step();
    Statement(
        database_,
        fmt::format("INSERT INTO {}(rowid, title, labels, body) VALUES(?,?,?,?)", language.table),
        articleId, article.title, article.labels, withoutTags(body))
        .step();
    ++position;
  }
}

std::string ArticleIndex::localeFor(std::string_view locale) const {
  const Language* const found = findLanguage(locale);
  return std::string((found ? *found : defaultLanguage_).locale);
}

std::vector<FoundArticle> ArticleIndex::search(std::string_view locale, std::string_view question,
                                               std::size_t atMost) const {
  const Language* const found = findLanguage(locale);
  const Language& language = found ? *found : defaultLanguage_;
  const SearchTerms terms = searchTerms(language, question);
  Matches matches;
  addMatches(language, terms, matches);
  for (const std::string& fragment : terms.fragments) addFragment(language, fragment, matches);

  std::vector<Matches::const_iterator> ranking;
  for (auto match = matches.cbegin(); match != matches.cend(); ++match) ranking.push_back(match);
  std::ranges::stable_sort(
      ranking, [](const auto& a, const auto& b) { return a->second.score > b->second.score; });

  std::vector<FoundArticle> articles;
  for (const auto& match : ranking) {
    const bool tooWeak = match->second.score < kWorstShareOfBest * ranking[0]->second.score;
    if (articles.size() == atMost || tooWeak) break;
    articles.push_back(read(match->first, match->second, language, terms));
  }
  return articles;
}

bool ArticleIndex::contains(std::int64_t articleId) const {
  return Statement(database_, "SELECT 1 FROM articles WHERE article_id = ?", articleId).step();
}

void ArticleIndex::addMatches(const Language& language, const SearchTerms& terms,
                              Matches& matches) const {
  if (terms.indexed.empty()) return;
  const std::string sql = fmt::format(
      "SELECT rowid, -bm25({0}, {1}, {2}, {3}),"
      " snippet({0}, 2, '<em>', '</em>', '…', 24), snippet({0}, 0, '<em>', '</em>', '…', 24)"
      " FROM {0} WHERE {0} MATCH ?",
      language.table, kTitle, kLabels, kBody);
  for (Statement row(database_, sql, matchAny(language, terms.indexed)); row.step();) {
    matches[row.integer(0)] = {.score = row.real(1),
                               .snippet = betterSnippet(row.text(2), row.text(3))};
  }
  for (const std::string& term : terms.indexed) {
    for (Statement row(database_,
                       fmt::format("SELECT rowid FROM {0} WHERE {0} MATCH ?", language.table),
                       "{title} : " + matchTerm(language, term));
         row.step();) {
      matches[row.integer(0)].score += kTitleBonus;
    }
  }
}

void ArticleIndex::addFragment(const Language& language, const std::string& fragment,
                               Matches& matches) const {
  const std::string sql = fmt::format(
      "SELECT rowid, {1} * (title LIKE ?1) + {2} * (labels LIKE ?1) + {3} * (body LIKE ?1) AS hits"
      " FROM {0} WHERE hits > 0",
      language.table, kTitle, kLabels, kBody);
  std::vector<std::pair<std::int64_t, double>> containing;
  for (Statement row(database_, sql, "%" + fragment + "%"); row.step();) {
    containing.emplace_back(row.integer(0), row.real(1));
  }
  for (const auto& [articleId, hits] : containing) {
    matches[articleId].score += fragmentScore(static_cast<double>(language.articles().size()),
                                              static_cast<double>(containing.size()), hits);
  }
}

FoundArticle ArticleIndex::read(std::int64_t articleId, const Match& match,
                                const Language& language, const SearchTerms& terms) const {
  Statement row(database_,
                "SELECT suggestion_id, locale, title, labels, body FROM articles"
                " WHERE article_id = ?",
                articleId);
  row.step();
  FoundArticle article{.suggestionId = row.integer(0),
                       .articleId = articleId,
                       .locale = row.text(1),
                       .title = row.text(2),
                       .labels = splitLabels(row.text(3)),
                       .body = row.text(4),
                       .score = match.score,
                       .snippet = match.snippet};
  if (!language.separatesWords) {
    // SQLite's own snippet knows nothing of the fragments, and it stumbles over terms that overlap.
    std::vector<std::string> all = terms.indexed;
    all.insert(all.end(), terms.fragments.begin(), terms.fragments.end());
    article.snippet =
        betterSnippet(emphasise(withoutTags(article.body), all), emphasise(article.title, all));
  }
  return article;
}

}  // namespace AnswerService
