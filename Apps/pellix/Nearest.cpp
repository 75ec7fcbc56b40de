#include "Nearest.h"

#include <algorithm>
#include <numeric>

namespace PellixApp {
namespace {

/// How many characters have to be put in, taken out or replaced to make one of the other.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0U);
  for (std::size_t i = 0; i < a.size(); ++i) {
    auto diagonal = row[0]++;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const auto replaced = diagonal + (a[i] == b[j] ? 0 : 1);
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
