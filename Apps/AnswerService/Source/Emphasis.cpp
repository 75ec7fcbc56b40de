#include "Emphasis.h"

#include "Unicode.h"

#include <algorithm>

namespace AnswerService {
namespace {

constexpr std::size_t kBefore = 12;
constexpr std::size_t kLength = 80;

void mark(std::u32string_view text, std::u32string_view term, std::vector<bool>& marked) {
  for (auto at = text.find(term); at != std::u32string_view::npos; at = text.find(term, at + 1)) {
    std::fill_n(marked.begin() + static_cast<long>(at), term.size(), true);
  }
}

}  // namespace

std::string emphasise(std::string_view utf8, const std::vector<std::string>& terms) {
  const std::u32string text = decodeUtf8(utf8);
  std::u32string folded = text;  // Terms are in lower case. Folding keeps every position.
  std::ranges::transform(folded, folded.begin(), simpleLower);
  std::vector<bool> marked(text.size() + 1, false);
  for (const std::string& term : terms) mark(folded, decodeUtf8(term), marked);

  const auto first = std::ranges::find(marked, true);
  const auto focus = first == marked.end() ? 0 : static_cast<std::size_t>(first - marked.begin());
  const std::size_t begin = focus > kBefore ? focus - kBefore : 0;
  const std::size_t end = std::min(text.size(), begin + kLength);

  std::u32string snippet = begin > 0 ? U"…" : U"";
  for (std::size_t at = begin; at < end; ++at) {
    if (marked[at] && (at == begin || !marked[at - 1])) snippet += U"<em>";
    snippet += text[at];
    if (marked[at] && (at + 1 == end || !marked[at + 1])) snippet += U"</em>";
  }
  if (end < text.size()) snippet += U"…";
  return encodeUtf8(snippet);
}

}  // namespace AnswerService
