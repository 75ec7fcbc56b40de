#include "Support/Rows.h"

#include <PellixPlatform/Error.h>
#include <PellixPlatform/Locale.h>
#include <PellixPlatform/URL.h>
#include <PellixPlatform/URLResponse.h>
#include <PellixPlatform/internal/FatalError.h>
#include <PellixPlatform/internal/FormatTemplate.h>
#include <PellixPlatform/internal/UUID.h>

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <sstream>

namespace PlatformTests {
namespace {

using PellixPlatform::Error;
using PellixPlatform::HTTPURLResponse;
using PellixPlatform::URL;
using PellixPlatform::URLResponse;
using PellixPlatform::Locale::preferredLanguages;
using PellixPlatform::Locale::setPreferredLanguages;
using Support::rowsOf;
using Tags = std::vector<std::string>;

TEST(Error, DescribesItself) {
  const auto described = [](const char* text) {
    return Error("D", 7, {{PellixPlatform::NSLocalizedDescriptionKey, text}});
  };
  const std::pair<Error, std::string> cases[] = {
      {Error("D", -7), "D (-7)|D (-7)"},
      {described("Why."), "Why.|D (7): Why."},
      {described("a\r\nb\tc\x1b[0m\x1f~\x7f"), "a  b c [0m ~ |D (7): a  b c [0m ~ "},
      {Error("D", 7, {{PellixPlatform::NSLocalizedDescriptionKey, 5}, {"x", "y"}}), "D (7)|D (7)"},
  };
  for (const auto& [error, texts] : cases) {
    EXPECT_EQ(error.localizedDescription() + "|" + error.description(), texts);
  }
}

TEST(FatalErrorDeathTest, ReportsAndAborts) {
  EXPECT_EXIT(PellixPlatform::fatalError("No 100% way on.\nNone."),
              testing::KilledBySignal(SIGABRT), testing::StrEq("No 100% way on.\nNone.\n"));
  EXPECT_EXIT(PellixPlatform::fatalUnimplementedInitializer("A.B", "init(coder:)"),
              testing::KilledBySignal(SIGABRT),
              testing::StrEq("Fatal error: Use of unimplemented initializer 'init(coder:)' for "
                             "class 'A.B'\n"));
}

TEST(URL, TakesApartWhatFollowsTheGrammar) {
  for (const auto& row : rowsOf("Platform/Data/URLs.txt")) {
    const auto url = URL::parse(row[0]);
    ASSERT_EQ(url.has_value(), row[1] != "no URL") << row[0];
    if (!url) continue;
    EXPECT_EQ(url->string(), row[0]);
    EXPECT_EQ(url->scheme() + " " + url->host(), row[1] + " " + row[2]) << row[0];
    std::string rest;
    if (url->hasUserInfo()) rest += " user";
    if (url->hasQuery()) rest += " query";
    if (url->hasFragment()) rest += " fragment";
    if (url->isLoopback()) rest += " loopback";
    EXPECT_EQ(rest.substr(!rest.empty()), row[3]) << row[0];
    EXPECT_EQ(*url, *URL::parse(row[0]));
    EXPECT_FALSE(*url == *URL::parse("other:"));
  }
}

TEST(HTTPURLResponse, JoinsFieldsOfTheSameName) {
  using Fields = HTTPURLResponse::HeaderFields;
  const Fields came{{"Vary", "a"}, {"Date", "d"}, {"VARY", "b"}, {"vary", ""},  {"{", "z"},
                    {"age", "1"},  {"X-Z", "x"},  {"X-", "y"},   {"Date", "e"}, {"[", "a"}};
  const Fields kept{{"[", "a"},  {"age", "1"}, {"Date", "d, e"}, {"Vary", "a, b, "},
                    {"X-", "y"}, {"X-Z", "x"}, {"{", "z"}};
  const HTTPURLResponse response("u", 200, came);
  EXPECT_EQ(response.allHeaderFields(), kept);
  EXPECT_EQ(response.valueForHeaderField("dATE"), "d, e");
  EXPECT_EQ(response.valueForHeaderField("x-z"), "x");
  EXPECT_EQ(response.valueForHeaderField("x-b"), std::nullopt);
  EXPECT_EQ(response.valueForHeaderField(""), std::nullopt);
  EXPECT_EQ(HTTPURLResponse("u", 200, {}).valueForHeaderField("a"), std::nullopt);
}

TEST(URLResponse, IsComparedByContentWithinItsClass) {
  const URLResponse plain[] = {URLResponse("u"), URLResponse("v")};
  const HTTPURLResponse http[] = {{"u", 200, {{"A", "1"}, {"b", "2"}}},
                                  {"v", 200, {{"A", "1"}, {"b", "2"}}},
                                  {"u", 201, {{"A", "1"}, {"b", "2"}}},
                                  {"u", 200, {{"A", "1"}, {"b", "x"}}},
                                  {"u", 200, {{"A", "1"}}},
                                  {"u", 200, {{"A", "1"}, {"b", "2"}, {"c", ""}}}};
  std::vector<const URLResponse*> all{&plain[0], &plain[1]};
  for (const auto& each : http) all.push_back(&each);
  for (const auto* one : all) {
    EXPECT_FALSE(one->isEqual(nullptr));
    for (const auto* other : all) EXPECT_EQ(one->isEqual(other), one == other);
  }
  const URLResponse plainAlike("u");
  const HTTPURLResponse httpAlike("u", 200, {{"B", "2"}, {"a", "1"}});
  EXPECT_TRUE(plain[0].isEqual(&plainAlike));
  EXPECT_TRUE(http[0].isEqual(&httpAlike));
}

TEST(HTTPURLResponse, KnowsTheTextsOfTheRegistry) {
  for (const auto& row : rowsOf("Platform/Data/StatusTexts.txt")) {
    const auto code = std::stoll(row[0]);
    EXPECT_EQ(HTTPURLResponse::localizedStringForStatusCode(code), row[1]) << code;
  }
}

TEST(FormatTemplate, PutsInItsOneArgumentAndGivesNothingForAnythingElse) {
  for (const auto& row : rowsOf("Platform/Data/Templates.txt")) {
    const auto expected = row.size() > 1 ? std::optional(row[1]) : std::nullopt;
    EXPECT_EQ(PellixPlatform::formatTemplate(row[0], "<%@>"), expected) << row[0];
  }
}

TEST(Locale, TakesThePreferredLanguagesFromTheHostElseFromTheEnvironment) {
  for (const auto& row : rowsOf("Platform/Data/Locales.txt")) {
    auto value = row.begin();
    for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
      *value == "-" ? ::unsetenv(name) : ::setenv(name, value->c_str(), 1);
      ++value;
    }
    for (const auto& tags : {Tags{"ja", "en-US"}, Tags{}}) {
      setPreferredLanguages(tags);
      EXPECT_EQ(preferredLanguages(), tags);
    }
    setPreferredLanguages(std::nullopt);
    std::istringstream tags(*value);
    const Tags expected(std::istream_iterator<std::string>(tags), {});
    EXPECT_EQ(preferredLanguages(), expected) << testing::PrintToString(row);
  }
}

TEST(UUID, IsRandomAndInUpperCase) {
  const char* form = "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}";
  const auto first = PellixPlatform::makeUUIDString();
  for (int i = 0; i < 100; ++i) {
    const auto uuid = PellixPlatform::makeUUIDString();
    EXPECT_THAT(uuid, testing::MatchesRegex(form));
    EXPECT_NE(uuid, first);
  }
}

}  // namespace
}  // namespace PlatformTests
