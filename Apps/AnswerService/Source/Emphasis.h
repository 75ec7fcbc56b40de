#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace AnswerService {

/// The part of the text around the first of the terms, with each of them in <em>...</em>. Without
/// any of them, the beginning of the text.
std::string emphasise(std::string_view text, const std::vector<std::string>& terms);

}  // namespace AnswerService
