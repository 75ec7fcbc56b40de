#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace AnswerService {

/// How the words of a language are found in its full-text table.
enum class Words {
  stemmed,      ///< The table knows a word's other forms.
  byBeginning,  ///< A word's other forms share its beginning.
  unseparated,  ///< A question is one run of characters; the table is one of trigrams.
};

/// What to look for, taken from a question. Every term is made of letters and digits, so that none
/// has a meaning of its own in a search expression.
struct SearchTerms {
  std::vector<std::string> indexed;     ///< For the full-text table, in its own notation.
  std::vector<std::string> substrings;  ///< Too short for a table of trigrams: substrings.
};

/// The terms of a question, without those that say nothing of what it is about.
SearchTerms searchTerms(std::string_view question, Words words,
                        const std::function<bool(const std::string& word)>& isStopWord);

}  // namespace AnswerService
