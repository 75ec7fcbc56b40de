#include <PellixPlatform/FormatTemplate.h>

#include <gtest/gtest.h>

namespace PlatformTests {
namespace {

TEST(FormatTemplate, PutsInItsOneArgument) {
  const struct {
    const char* text;
    const char* expected;
  } cases[] = {
      {"", ""},
      {"no place", "no place"},
      {"%@", "<%@>"},
      {"a %@ b", "a <%@> b"},
      {"%1$@", "<%@>"},
      {"%1$@ and %1$@", "<%@> and <%@>"},
      {"%@ and %1$@", "<%@> and <%@>"},
      {"100%% of %@%%", "100% of <%@>%"},
      {"%%@", "%@"},
      {"%%%@", "%<%@>"},
      {"\u00e9 %@ \u00e9", "\u00e9 <%@> \u00e9"},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(PellixPlatform::formatTemplate(text, "<%@>"), expected) << text;
  }
}

TEST(FormatTemplate, GivesNothingForAnythingElse) {
  for (const char* text : {"%@ and %@", "%2$@", "%0$@", "%11$@", "%1$", "%1$s", "%1@", "%d", "%s",
                           "%n", "% @", "%-5@", "%*@", "%", "%@ %", "%%%"}) {
    EXPECT_EQ(PellixPlatform::formatTemplate(text, "x"), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace PlatformTests
