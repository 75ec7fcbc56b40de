#include "Support/Rows.h"

#include <PellixPlatform/CanonicalEquivalence.h>

#include <gtest/gtest.h>

#include <charconv>
#include <fstream>
#include <string>
#include <vector>

namespace PlatformTests {
namespace {

using PellixPlatform::canonicallyEquivalent;

bool bothWays(const std::string& a, const std::string& b) {
  const bool result = canonicallyEquivalent(a, b);
  EXPECT_EQ(canonicallyEquivalent(b, a), result) << a << " and " << b;
  return result;
}

TEST(CanonicalEquivalence, OfChosenTexts) {
  for (const auto& row : Support::rowsOf("Platform/Data/Equivalence.txt")) {
    EXPECT_EQ(bothWays(row[0], row[1]), row[2] == "yes") << row[0] << " " << row[1];
  }
}

TEST(CanonicalEquivalence, DoesNotSlowDownWithTheNumberOfMarks) {
  std::string below, above;
  for (int i = 0; i < 300'000; ++i) {
    below += "\u0323";
    above += "\u0307";
  }
  EXPECT_TRUE(canonicallyEquivalent("a" + above + below, "a" + below + above));
  EXPECT_FALSE(canonicallyEquivalent("a" + above + below, "a" + below + above + "\u0307"));
}

/// The characters of one column, as hexadecimal numbers with blanks between, in UTF-8.
std::string column(std::string_view line, std::size_t number) {
  for (; number > 0; --number) line.remove_prefix(line.find(';') + 1);
  line = line.substr(0, line.find(';'));
  std::string text;
  while (!line.empty()) {
    std::uint32_t c = 0;
    const auto end = std::from_chars(line.data(), line.data() + line.size(), c, 16).ptr;
    line.remove_prefix(std::min(static_cast<std::size_t>(end - line.data()) + 1, line.size()));
    if (c < 0x80) {
      text += static_cast<char>(c);
      continue;
    }
    const int more = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    text += static_cast<char>((0xFF << (7 - more) & 0xFF) | c >> 6 * more);
    for (int i = more - 1; i >= 0; --i) text += static_cast<char>(0x80 | (c >> 6 * i & 0x3F));
  }
  return text;
}

// Columns: source, then its forms NFC, NFD, NFKC, NFKD.
TEST(CanonicalEquivalence, OfEveryNormalizationTest) {
  std::ifstream file(PLATFORM_NORMALIZATION_TEST);
  int tests = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#' || line[0] == '@') continue;
    std::vector<std::string> columns;
    for (std::size_t i = 0; i < 5; ++i) columns.push_back(column(line, i));
    for (std::size_t i = 0; i < 5; ++i) {
      for (std::size_t k = 0; k < i; ++k) {
        // Two texts are equivalent if their NFD is the same; the third and the fifth are in it.
        const bool expected = i < 3 || k >= 3 || columns[2] == columns[4];
        ASSERT_EQ(bothWays(columns[i], columns[k]), expected) << line;
        ASSERT_EQ(bothWays("x\u00e9" + columns[i] + "y", "xe\u0301" + columns[k] + "y"), expected)
            << line;
      }
    }
    ++tests;
  }
  EXPECT_GT(tests, 18'000);
}

}  // namespace
}  // namespace PlatformTests
