#include "Languages.h"

namespace AnswerService {
namespace {

constexpr std::string_view kWords = "unicode61 remove_diacritics 2";
constexpr std::string_view kTrigrams = "trigram";

constexpr std::string_view kEnglishStopWords[] = {
    "a",       "about", "after", "again", "all",    "am",    "an",  "and",   "any",    "are",
    "as",      "at",    "back",  "be",    "been",   "but",   "by",  "can",   "cannot", "could",
    "did",     "do",    "does",  "don",   "for",    "from",  "get", "got",   "had",    "has",
    "have",    "hello", "help",  "here",  "hi",     "how",   "i",   "if",    "in",     "into",
    "is",      "it",    "just",  "know",  "like",   "ll",    "may", "me",    "my",     "need",
    "no",      "not",   "now",   "of",    "on",     "or",    "our", "out",   "please", "should",
    "so",      "some",  "tell",  "thank", "thanks", "that",  "the", "their", "them",   "then",
    "there",   "they",  "this",  "to",    "too",    "up",    "us",  "ve",    "very",   "want",
    "was",     "we",    "what",  "when",  "where",  "which", "who", "why",   "will",   "with",
    "without", "would", "you",   "your",
};
constexpr std::string_view kEnglishEndings[] = {
    "ings", "ing", "ies", "ion", "ed", "en", "es", "s", "e", "y",
};

constexpr std::string_view kGermanStopWords[] = {
    "aber",   "alle",   "als",  "am",    "an",     "auch",   "auf",    "aus",   "bei",    "beim",
    "bin",    "bitte",  "bist", "da",    "danke",  "das",    "dass",   "dem",   "den",    "der",
    "des",    "die",    "dir",  "doch",  "du",     "ein",    "eine",   "einem", "einen",  "einer",
    "es",     "euch",   "euer", "für",   "gibt",   "habe",   "haben",  "hallo", "hat",    "ich",
    "ihr",    "ihre",   "im",   "in",    "ist",    "kann",   "kein",   "keine", "keinen", "können",
    "machen", "man",    "mein", "meine", "meinem", "meinen", "meiner", "mich",  "mir",    "mit",
    "muss",   "möchte", "nach", "nicht", "noch",   "nun",    "nur",    "oder",  "ohne",   "schon",
    "sehr",   "sein",   "sich", "sie",   "sind",   "so",     "soll",   "und",   "uns",    "unser",
    "vom",    "von",    "wann", "warum", "was",    "wegen",  "welche", "wenn",  "wer",    "werden",
    "wie",    "will",   "wir",  "wird",  "wo",     "zu",     "zum",    "zur",   "über",
};
constexpr std::string_view kGermanEndings[] = {
    "ungen", "ung", "ern", "en", "em", "er", "es", "e", "n", "s",
};

constexpr std::string_view kJapaneseStopWords[] = {
    "教", "何", "私", "方", "時", "今", "人", "知", "方法", "場合", "出来",
};

constexpr Language kLanguages[] = {
    {.locale = "en-us",
     .table = "search_english",
     .tokenizer = kWords,
     .separatesWords = true,
     .stopWords = kEnglishStopWords,
     .endings = kEnglishEndings,
     .firstArticleId = 700'100,
     .firstSuggestionId = 31'100,
     .articles = englishArticles},
    {.locale = "de",
     .table = "search_german",
     .tokenizer = kWords,
     .separatesWords = true,
     .stopWords = kGermanStopWords,
     .endings = kGermanEndings,
     .firstArticleId = 700'200,
     .firstSuggestionId = 31'200,
     .articles = germanArticles},
    {.locale = "ja",
     .table = "search_japanese",
     .tokenizer = kTrigrams,
     .separatesWords = false,
     .stopWords = kJapaneseStopWords,
     .endings = {},
     .firstArticleId = 700'300,
     .firstSuggestionId = 31'300,
     .articles = japaneseArticles},
};

}  // namespace

std::span<const Language> languages() {
  return kLanguages;
}

}  // namespace AnswerService
