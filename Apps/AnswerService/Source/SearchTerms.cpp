#include "SearchTerms.h"

#include "Unicode.h"

#include <algorithm>
#include <optional>

namespace AnswerService {
namespace {

/// What a long question is about is said at its beginning; each further term only costs time.
constexpr std::size_t kMostTerms = 48;
constexpr std::size_t kLongestTerm = 64;

/// Shorter beginnings are shared by too many unrelated words.
constexpr std::size_t kShortestStem = 4;
constexpr std::size_t kTrigram = 3;
/// A longer run of one script is taken for a compound, and its parts are looked for as well.
constexpr std::size_t kLongestSingleWord = 6;

enum class Script { None, Latin, Kanji, Hiragana, Katakana, Other };

struct Range {
  char32_t first;
  char32_t last;
  Script script;
};

/// In ascending order. What is not listed is Other: letters of the scripts of the world.
constexpr Range kRanges[] = {
    {.first = 0x0000, .last = 0x002F, .script = Script::None},
    {.first = 0x0030, .last = 0x0039, .script = Script::Latin},
    {.first = 0x003A, .last = 0x0040, .script = Script::None},
    {.first = 0x0041, .last = 0x005A, .script = Script::Latin},
    {.first = 0x005B, .last = 0x0060, .script = Script::None},
    {.first = 0x0061, .last = 0x007A, .script = Script::Latin},
    {.first = 0x007B, .last = 0x00BF, .script = Script::None},
    {.first = 0x00C0, .last = 0x00D6, .script = Script::Latin},
    {.first = 0x00D7, .last = 0x00D7, .script = Script::None},
    {.first = 0x00D8, .last = 0x00F6, .script = Script::Latin},
    {.first = 0x00F7, .last = 0x00F7, .script = Script::None},
    {.first = 0x00F8, .last = 0x036F, .script = Script::Latin},
    {.first = 0x2000, .last = 0x2BFF, .script = Script::None},
    {.first = 0x3000, .last = 0x3004, .script = Script::None},
    {.first = 0x3005, .last = 0x3005, .script = Script::Kanji},
    {.first = 0x3006, .last = 0x3040, .script = Script::None},
    {.first = 0x3041, .last = 0x309F, .script = Script::Hiragana},
    {.first = 0x30A0, .last = 0x30A0, .script = Script::None},
    {.first = 0x30A1, .last = 0x30FA, .script = Script::Katakana},
    {.first = 0x30FB, .last = 0x30FB, .script = Script::None},
    {.first = 0x30FC, .last = 0x30FF, .script = Script::Katakana},
    {.first = 0x3400, .last = 0x4DBF, .script = Script::Kanji},
    {.first = 0x4E00, .last = 0x9FFF, .script = Script::Kanji},
    {.first = 0xE000, .last = 0xF8FF, .script = Script::None},
    {.first = 0xFE00, .last = 0xFE0F, .script = Script::None},
    {.first = 0xFF61, .last = 0xFF65, .script = Script::None},
    {.first = 0xFF66, .last = 0xFF9F, .script = Script::Katakana},
    {.first = 0xFFE0, .last = 0xFFFF, .script = Script::None},
    {.first = 0x1F000, .last = 0x1FAFF, .script = Script::None},
    {.first = 0xE0000, .last = 0x10FFFF, .script = Script::None},
};

Script scriptOf(char32_t c) {
  const Range* const range = std::ranges::lower_bound(kRanges, c, {}, &Range::last);
  return range != std::end(kRanges) && range->first <= c ? range->script : Script::Other;
}

/// Collects terms once each, and no more than are useful.
class Collector {
 public:
  explicit Collector(std::span<const std::string_view> stopWords) : stopWords_(stopWords) {}

  [[nodiscard]] bool full() const {
    return terms_.indexed.size() + terms_.fragments.size() >= kMostTerms;
  }

  [[nodiscard]] bool isStopWord(std::u32string_view word) const {
    return std::ranges::find(stopWords_, encodeUtf8(word)) != stopWords_.end();
  }

  void addIndexed(std::u32string_view word) { add(&SearchTerms::indexed, word); }

  /// Where it is looked for depends on what the table of trigrams can find.
  void addPiece(std::u32string_view piece) {
    if (isStopWord(piece)) return;
    add(piece.size() < kTrigram ? &SearchTerms::fragments : &SearchTerms::indexed, piece);
  }

  SearchTerms take() { return std::move(terms_); }

 private:
  void add(std::vector<std::string> SearchTerms::* list, std::u32string_view word) {
    std::vector<std::string>& terms = terms_.*list;
    std::string term = encodeUtf8(word.substr(0, kLongestTerm));
    if (full() || std::ranges::find(terms, term) != terms.end()) return;
    terms.push_back(std::move(term));
  }

  const std::span<const std::string_view> stopWords_;
  SearchTerms terms_;
};

/// The word without its ending: "invoices" and "invoicing" both begin with "invoic".
std::u32string_view stem(std::u32string_view word, std::span<const std::string_view> endings) {
  for (const std::string_view ending : endings) {
    if (word.size() < kShortestStem + ending.size()) continue;
    const std::u32string_view rest = word.substr(0, word.size() - ending.size());
    if (!std::equal(ending.begin(), ending.end(), word.begin() + static_cast<long>(rest.size()),
                    [](char a, char32_t b) { return static_cast<char32_t>(a) == b; })) {
      continue;
    }
    // "cancelling", "resetting": the doubled letter belongs to the ending.
    const bool doubled = rest.size() > kShortestStem && rest.back() == rest[rest.size() - 2];
    return doubled ? rest.substr(0, rest.size() - 1) : rest;
  }
  return word;
}

void addWord(const Language& language, std::u32string_view word, Collector& collector) {
  constexpr std::size_t kShortestWord = 2;  // A single letter is what an apostrophe leaves behind.
  if (word.size() < kShortestWord || collector.isStopWord(word)) return;
  collector.addIndexed(stem(word, language.endings));
}

void addParts(std::u32string_view run, std::size_t size, Collector& collector) {
  for (std::size_t at = 0; at + size <= run.size(); ++at) collector.addPiece(run.substr(at, size));
}

void addRun(Script script, std::u32string_view run, Collector& collector) {
  switch (script) {
    case Script::Kanji:
      // A single one is the stem of a verb, whose ending in hiragana changes.
      collector.addPiece(run);
      if (run.size() >= kTrigram) addParts(run, 2, collector);
      break;
    case Script::Katakana:
    case Script::Latin:
    case Script::Other:
      if (run.size() >= 2) collector.addPiece(run);
      if (run.size() > kLongestSingleWord) addParts(run, kTrigram, collector);
      break;
    case Script::Hiragana:  // Particles and endings, which every article has.
    case Script::None:
      break;
  }
}

}  // namespace

SearchTerms searchTerms(const Language& language, std::string_view question) {
  std::u32string text = decodeUtf8(question);
  std::ranges::transform(text, text.begin(), simpleLower);
  // Where words are separated, letters of different scripts still make one word.
  const auto scriptAt = [&](std::size_t at) {
    const Script script = scriptOf(text[at]);
    return language.separatesWords && script != Script::None ? Script::Other : script;
  };
  Collector collector(language.stopWords);
  for (std::size_t begin = 0; begin < text.size() && !collector.full();) {
    const Script script = scriptAt(begin);
    std::size_t end = begin + 1;
    while (end < text.size() && scriptAt(end) == script) ++end;
    const std::u32string_view run = std::u32string_view(text).substr(begin, end - begin);
    if (script != Script::None && language.separatesWords) addWord(language, run, collector);
    if (script != Script::None && !language.separatesWords) addRun(script, run, collector);
    begin = end;
  }
  return collector.take();
}

}  // namespace AnswerService
