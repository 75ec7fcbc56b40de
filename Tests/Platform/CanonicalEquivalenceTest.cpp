#include "Support/Rows.h"

#include <PellixPlatform/CanonicalEquivalence.h>
#include <PellixPlatform/internal/PropertyListDecoder.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
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

/// The fields of a line: characters as hexadecimal numbers with blanks between, a semicolon after
/// each field.
std::vector<std::string> fieldsOf(const std::string& line) {
  std::string list = "<plist><array>";
  std::istringstream fields(line.substr(0, line.find('#')));
  for (std::string field; std::getline(fields, field, ';');) {
    list += "<string>";
    std::istringstream numbers(field);
    for (std::string number; numbers >> number;) list += "&#x" + number + ";";
    list += "</string>";
  }
  list += "</array></plist>";
  return PellixPlatform::PropertyListDecoder().decode<std::vector<std::string>>(list).value();
}

// Columns: source, then its forms NFC, NFD, NFKC, NFKD.
TEST(CanonicalEquivalence, OfEveryNormalizationTest) {
  std::ifstream file(PLATFORM_NORMALIZATION_TEST);
  int tests = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#' || line[0] == '@') continue;
    const auto columns = fieldsOf(line);
    for (std::size_t i = 0; i < 5; ++i) {
      // What is compatible need not be equivalent.
      const bool expected = i < 3 || columns[2] == columns[4];
      EXPECT_EQ(bothWays(columns[i], columns[2]), expected) << line;
      EXPECT_EQ(bothWays("x\u00e9" + columns[i] + "y", "xe\u0301" + columns[2] + "y"), expected)
          << line;
    }
    ++tests;
  }
  EXPECT_GT(tests, 18'000);
}

}  // namespace
}  // namespace PlatformTests
