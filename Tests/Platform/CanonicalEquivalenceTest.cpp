#include <PellixPlatform/CanonicalEquivalence.h>

#include <gtest/gtest.h>

#include <charconv>
#include <fstream>
#include <string>
#include <vector>

namespace PlatformTests {
namespace {

using namespace std::string_literals;
using PellixPlatform::canonicallyEquivalent;

bool bothWays(const std::string& a, const std::string& b) {
  const bool result = canonicallyEquivalent(a, b);
  EXPECT_EQ(canonicallyEquivalent(b, a), result) << a << " and " << b;
  return result;
}

TEST(CanonicalEquivalence, OfChosenTexts) {
  const struct {
    std::string a;
    std::string b;
    bool expected;
  } cases[] = {
      {"", "", true},
      {"", "a", false},
      {"same", "same", true},
      {"Same", "same", false},
      {"caf\u00e9", "cafe\u0301", true},
      {"caf\u00e9!", "cafe\u0301!", true},
      {"caf\u00e9", "cafe", false},
      {"a\u00e9b", "ae\u0301c", false},
      {"\u00e9", "e\u0300", false},
      {"a\u0323\u0307", "a\u0307\u0323", true},   // marks of different classes in any order
      {"a\u0301\u0300", "a\u0300\u0301", false},  // marks of one class in their own
      {"\u1e69", "s\u0307\u0323", true},
      {"\uac01", "\u1100\u1161\u11a8", true},
      {"\u212b", "\u00c5", true},
      {"\ufb01", "fi", false},  // compatible only
      {"e\u0301\0x"s, "\u00e9\0x"s, true},
      {"e\u0301\0x"s, "\u00e9\0y"s, false},
      {"\xff", "\xff", true},
      {"\xff\u00e9",
       "\xff"
       "e\u0301",
       false},
      {"\u00e9\xff", "e\u0301\xff", false},
      {"\u00e9", "e\u0301\xff", false},
      {"\xc3", "\xc3\xa9", false},
      {"\xed\xa0\x80", "\xed\xa0\x81", false},
  };
  for (const auto& [a, b, expected] : cases) EXPECT_EQ(bothWays(a, b), expected) << a << " " << b;
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
