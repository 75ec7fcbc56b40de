#include "Support/Rows.h"

#include <PellixPlatform/internal/FormatTemplate.h>

#include <gtest/gtest.h>

namespace PlatformTests {
namespace {

TEST(FormatTemplate, PutsInItsOneArgumentAndGivesNothingForAnythingElse) {
  for (const auto& row : Support::rowsOf("Platform/Data/Templates.txt")) {
    const auto expected = row.size() > 1 ? std::optional(row[1]) : std::nullopt;
    EXPECT_EQ(PellixPlatform::formatTemplate(row[0], "<%@>"), expected) << row[0];
  }
}

}  // namespace
}  // namespace PlatformTests
