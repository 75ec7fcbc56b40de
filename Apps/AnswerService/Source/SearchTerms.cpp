#include "SearchTerms.h"

#include <fmt/format.h>
#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <span>

namespace AnswerService {
namespace {

/// What a long question is about is said at its beginning; all that follows only costs time.
constexpr std::size_t longestQuestion = 1024;

enum class Script { none, letters, hiragana, katakana, kanji };

Script scriptOf(utf8proc_int32_t c, Words words) {
  const auto category = utf8proc_category(c);
  if (category < UTF8PROC_CATEGORY_LU || category > UTF8PROC_CATEGORY_NO) return Script::none;
  if (words != Words::unseparated) return Script::letters;
  if (0x3041 <= c && c <= 0x309F) return Script::hiragana;
  if (0x30A0 <= c && c <= 0x30FF) return Script::katakana;
  return c == 0x3005 || (0x3400 <= c && c <= 0x9FFF) ? Script::kanji : Script::letters;
}

/// Characters of one script that follow each other: a word, or what comes near to one.
struct Run {
  Script script;
  std::vector<std::string> characters;

  [[nodiscard]] std::string text(std::size_t begin, std::size_t count) const {
    const auto part = std::span(characters).subspan(begin);
    return fmt::format("{}", fmt::join(part.first(std::min(count, part.size())), ""));
  }
};

/// In the form in which full-width and half-width characters are ordinary ones.
std::string normalized(std::string_view text) {
  auto size = std::min(text.size(), longestQuestion);
  while (size < text.size() && (text[size] & 0xC0) == 0x80) --size;  // no half characters
  const std::string begin(text.substr(0, size));
  const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> form(
      utf8proc_NFKC(reinterpret_cast<const utf8proc_uint8_t*>(begin.c_str())), &std::free);
  return form ? reinterpret_cast<const char*>(form.get()) : "";
}

std::vector<Run> runsOf(const std::string& text, Words words) {
  std::vector<Run> runs;
  auto at = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  for (const auto end = at + text.size(); at < end;) {
    utf8proc_int32_t c = 0;
    at += utf8proc_iterate(at, end - at, &c);
    const Script script = scriptOf(c, words);
    if (runs.empty() || runs.back().script != script) runs.push_back({script, {}});
    utf8proc_uint8_t lower[4];
    const auto size = utf8proc_encode_char(utf8proc_tolower(c), lower);
    runs.back().characters.emplace_back(lower, lower + size);
  }
  std::erase_if(runs, [](const Run& run) { return run.script == Script::none; });
  return runs;
}

void add(const Run& run, Words words, SearchTerms& terms) {
  const std::size_t size = run.characters.size();
  if (run.script == Script::kanji) {
    // Most words are two of them; a single one is the stem of a verb, whose ending changes.
    for (std::size_t at = 0; at == 0 || at + 2 <= size; ++at) {
      terms.substrings.push_back(run.text(at, 2));
    }
  } else if (size < 2 || run.script == Script::hiragana) {
    return;  // What an apostrophe leaves behind; particles and endings, which every article has.
  } else if (words == Words::unseparated && size == 2) {
    terms.substrings.push_back(run.text(0, size));
  } else if (words == Words::byBeginning) {
    // "Rechnung" and "Rechnungen" both begin with "Rechnu".
    terms.indexed.push_back(fmt::format("\"{}\" *", run.text(0, std::max(size, 6UL) - 2)));
  } else {
    terms.indexed.push_back(fmt::format("\"{}\"", run.text(0, size)));
  }
}

}  // namespace

SearchTerms searchTerms(std::string_view question, Words words,
                        const std::function<bool(const std::string& word)>& isStopWord) {
  SearchTerms terms;
  for (const Run& run : runsOf(normalized(question), words)) {
    if (!isStopWord(run.text(0, run.characters.size()))) add(run, words, terms);
  }
  return terms;
}

}  // namespace AnswerService
