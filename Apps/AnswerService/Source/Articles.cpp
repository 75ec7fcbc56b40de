#include "Articles.h"

#include "SearchTerms.h"

#include <fmt/format.h>
#include <strings.h>

#include <algorithm>
#include <utility>

namespace AnswerService {
namespace {

struct Language {
  const char* tag;
  const char* locale;
  const char* tokenizer;
  Words words;
  int snippetTokens;
};

constexpr Language languages[] = {
    {"en", "en-us", "porter unicode61 remove_diacritics 2", Words::stemmed, 24},
    {"de", "de", "unicode61 remove_diacritics 2", Words::byBeginning, 24},
    {"ja", "ja", "trigram", Words::unseparated, 60},
};

/// Of the table search_{0}: ?1 is an expression for its index, ?2 a list of substrings, ?3 the
/// brand. The title counts eightfold and the labels fourfold. The addresses are of a host under a
/// name that is reserved for examples: the articles have no pages of their own.
constexpr const char* searchSql = R"sql(
  WITH hits(id, score, snippet) AS MATERIALIZED (
    SELECT id, score, iif(instr(inBody, '<em>'), inBody, inTitle) FROM (
      SELECT rowid AS id, -bm25(search_{0}, 8, 4, 1) AS score,
          snippet(search_{0}, 2, '<em>', '</em>', '…', {1}) AS inBody,
          snippet(search_{0}, 0, '<em>', '</em>', '…', {1}) AS inTitle
        FROM search_{0} WHERE search_{0} MATCH ?1)
    UNION ALL
    SELECT rowid, weight * 2 / (weight + 1),
      replace(substr(text, max(1, instr(text, term) - 12), 80), term, '<em>' || term || '</em>')
      FROM (
        SELECT search_{0}.rowid, value AS term, iif(instr(body, value), body, title) AS text, 8.0 *
          (instr(title, value) > 0) + 4 * (instr(labels, value) > 0) + (instr(body, value) > 0)
          AS weight FROM search_{0}, json_each(?2))
      WHERE weight > 0),
  ranking AS (SELECT id, sum(score) AS score, snippet FROM hits GROUP BY id)
  SELECT json_object('id', suggestion_id, 'title', title,
      'html_url', printf('https://help.example/pages/%s/%d', locale, id),
      'url', printf('https://help.example/articles/%s/%d.json', locale, id),
      'label_names', json(labels), 'body', body, 'article_id', id, 'locale', locale,
      'brand_id', ?3, 'score', score, 'snippet', snippet)
    FROM ranking JOIN articles USING (id)
    -- What is much worse than the best shares no more than a common word with the question.
    WHERE score > 0.15 * (SELECT max(score) FROM ranking)
    ORDER BY score DESC LIMIT 5)sql";

const Language* languageOf(std::string_view locale, const Language* otherwise) {
  const std::string tag(locale.substr(0, locale.find_first_of("-_")));
  for (const Language& language : languages) {
    if (strcasecmp(tag.c_str(), language.tag) == 0) return &language;
  }
  return otherwise;
}

/// Character references stay as they are, so that the text is HTML still, only without elements.
std::string withoutTags(std::string_view html) {
  std::string text;
  for (std::size_t at = 0; at < html.size(); ++at) {
    const std::size_t end = html[at] == '<' ? std::min(html.find('>', at), html.size()) : at;
    const std::string_view tag = html.substr(at, end - at);
    const bool isInline =
        tag.ends_with("strong") || tag.ends_with("em") || tag.starts_with("<a ") || tag == "</a";
    const bool isBlank = !tag.empty() || html[at] == '\n' || html[at] == ' ';
    if (!isBlank) text += html[at];
    if (isBlank && !isInline && !text.empty() && text.back() != ' ') text += ' ';
    at = end;
  }
  return text;
}

}  // namespace

Articles::Articles(const Database& database, std::string defaultLocale)
    : database_(database), defaultLocale_(std::move(defaultLocale)) {
  // The search needs no file; only the record outlives the run.
  database_.run(
      "PRAGMA temp_store = memory;"
      "CREATE TEMP TABLE articles(id INTEGER PRIMARY KEY, suggestion_id, locale, title, labels,"
      " body); CREATE TEMP TABLE stop_words(locale, word, PRIMARY KEY(locale, word))");
  database_.run(sql);
  for (const Language& language : languages) {
    database_.run(fmt::format(
        "CREATE VIRTUAL TABLE temp.search_{} USING fts5(title, labels, body, tokenize = '{}')",
        language.tag, language.tokenizer));
    constexpr auto query = "SELECT id, title, labels, body FROM articles WHERE locale = ?";
    for (const Json& row : database_.run(query, {language.locale})) {
      database_.run(fmt::format("INSERT INTO search_{}(rowid, title, labels, body) VALUES(?,?,?,?)",
                                language.tag),
                    {row[0], row[1], row[2], withoutTags(row[3].get<std::string>())});
    }
  }
}

Json Articles::search(std::string_view locale, std::string_view question,
                      std::int64_t brandId) const {
  const Language& language = *languageOf(locale, languageOf(defaultLocale_, languages));
  const auto terms = searchTerms(question, language.words, [&](const std::string& word) {
    constexpr auto stopWord = "SELECT 1 FROM stop_words WHERE locale = ? AND word = ?";
    return !database_.run(stopWord, {language.locale, word}).empty();
  });
  const auto search = fmt::format(fmt::runtime(searchSql), language.tag, language.snippetTokens);
  Json articles = Json::array();
  // An expression must not be empty; an empty phrase matches nothing.
  const auto expression = fmt::format("{}", fmt::join(terms.indexed, " OR "));
  const auto rows = database_.run(
      search, {expression.empty() ? R"("")" : expression, Json(terms.substrings).dump(), brandId});
  for (const Json& row : rows) articles.push_back(Json::parse(row[0].get<std::string>()));
  return articles;
}

bool Articles::contains(std::int64_t articleId) const {
  return !database_.run("SELECT 1 FROM articles WHERE id = ?", {articleId}).empty();
}

}  // namespace AnswerService
