#include "Nearest.h"

#include <algorithm>

namespace PellixApp {
namespace {

/// How many characters have to be put in, taken out or replaced to make one of the other.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::ranges::generate(row, [n = std::size_t{0}]() mutable { return n++; });
  for (const char c : a) {
    auto diagonal = row[0]++;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const auto replaced = diagonal + (c == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string nearest(std::string_view word, const std::vector<std::string>& known) {
  std::string found;
  std::size_t least = word.size() / 3 + 2;  // farther off, it is another word
  for (const auto& each : known) {
    const auto steps = each.starts_with(word) ? 1 : distance(word.substr(0, 64), each);
    if (steps < least) {
      found = each;
      least = steps;
    }
  }
  return found;
}

}  // namespace PellixApp
