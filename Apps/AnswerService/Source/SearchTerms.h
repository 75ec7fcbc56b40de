#pragma once

#include "Languages.h"

#include <string>
#include <string_view>
#include <vector>

namespace AnswerService {

/// What to look for, taken from a question.
struct SearchTerms {
  /// For the full-text table: beginnings of words, or runs of three characters and more.
  std::vector<std::string> indexed;
  /// Too short for a table of trigrams: to be looked for as substrings.
  std::vector<std::string> fragments;
};

/// Every term is made of letters and digits only, so that none has a meaning of its own in a
/// search expression.
SearchTerms searchTerms(const Language& language, std::string_view question);

}  // namespace AnswerService
