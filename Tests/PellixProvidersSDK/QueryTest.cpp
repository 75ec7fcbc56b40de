#include "PellixProvidersSDK/Host.h"
#include "Support/ChildProcess.h"
#include "Support/Rows.h"
#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/Bundle.h>
#include <PellixPlatform/Locale.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace PellixTests {
namespace {

using testing::ElementsAre;
using testing::Pair;

nlohmann::ordered_json sentBody(const Host& host) {
  return nlohmann::ordered_json::parse(host.transport->requests(queryPath).back().body.value());
}

TEST(Query, SendsTheTextAndAsksForTheSettingsEachTime) {
  using namespace std::string_literals;
  const auto settings = std::make_shared<OwnSettings>(enabled);
  Host host(settings);
  const std::string texts[] = {
      "",      "  How do I reset it? \n", "\"quotes\" \\ \t", "e\u0301 \u65e5\u672c \U0001F642",
      "a\0b"s, std::string(100'000, 'x')};
  for (const auto& text : texts) {
    Outcome outcome;
    host.provider->getDeflectionForQuery(text, outcome.callback());
    host.transport->settle();
    EXPECT_EQ(outcome.ending(), answered);
    EXPECT_EQ(sentBody(host), (nlohmann::ordered_json{{"via_id", 65},
                                                      {"deflection_channel_id", 65},
                                                      {"interaction_reference", host.UUID},
                                                      {"interaction_reference_type", 4},
                                                      {"enquiry", text},
                                                      {"locale", "de"},
                                                      {"labels", nlohmann::json::array()}}));
    EXPECT_THAT(host.newLines(),
                ElementsAre("debug: UUID for deflection: " + host.UUID, "info: called"));
  }
  EXPECT_EQ(settings->asked, std::size(texts));
  EXPECT_EQ(host.transport->requests().back().method, QuorvelCoreSDK::HttpMethod::post);
  EXPECT_EQ(host.requestedPaths().size(), 1 + std::size(texts));  // the locale is kept
}

TEST(Query, SearchesInTheFirstLocaleToBeHad) {
  for (const auto& row : Support::rowsOf("PellixProvidersSDK/Data/Locales.txt")) {
    SCOPED_TRACE(testing::PrintToString(row));
    const Host host;
    const bool isOverridden = row[0] != "none";
    if (isOverridden) host.veltrane->setLumenoLocaleOverride(row[0]);
    host.transport->answer(std::string(knowledgeSettings), std::stoi(row[1]), row[2]);
    const std::vector<std::string> preferred(row.begin() + 4, row.end());
    PellixPlatform::Locale::setPreferredLanguages(preferred);
    EXPECT_EQ(host.outcomeOf(), answered);
    EXPECT_EQ(sentBody(host)["locale"], row[3]);
    EXPECT_EQ(host.requestedPaths().size(), isOverridden ? 2U : 3U);
  }
  PellixPlatform::Locale::setPreferredLanguages(std::nullopt);
}

TEST(Query, ChoosesTheLocaleAfreshByTheSharedInstance) {
  const Host host;
  EXPECT_EQ(host.outcomeOf(), answered);
  const auto later = Veltrane::initialize(host.quorvel);
  for (const auto& locale : {std::optional<std::string>("ja"), {}}) {
    later->setLumenoLocaleOverride(locale);
    EXPECT_EQ(host.outcomeOf(), answered);
    EXPECT_EQ(sentBody(host)["locale"], locale.value_or("de"));
  }
}

void checkVersions() {
  const std::pair<std::string, const char*> cases[] = {
      {"<key>CFBundleShortVersionString</key><string> 2.3.1 </string>", " 2.3.1 "},
      {"<key>CFBundleShortVersionString</key><string></string>", ""},
      {"<key>CFBundleShortVersionString</key><integer>2</integer>", "1.0.0-default"},
      {"<key>cfbundleshortversionstring</key><string>2.3.1</string>", "1.0.0-default"},
      {"<true/>", "1.0.0-default"},
  };
  const Host host;
  EXPECT_EQ(host.outcomeOf(), answered);  // which reads the endpoint table
  // The version is looked up for each request.
  for (const auto& [entry, version] : cases) {
    const Support::TemporaryDirectory resources;
    resources.write("Info.plist", "<plist><dict>" + entry + "</dict></plist>");
    EXPECT_TRUE(PellixPlatform::Bundle::setResourceDirectory(resources.path()));
    EXPECT_EQ(host.outcomeOf(), answered);
    EXPECT_THAT(host.transport->requests().back().headers,
                testing::UnorderedElementsAre(
                    Pair("Authorization", "Bearer secret"), Pair("Accept", "application/json"),
                    Pair("Content-Type", "application/json; charset=utf-8"),
                    Pair("X-Quorvel-Client", "Pellix"), Pair("X-Quorvel-Client-Version", version)));
  }
}

TEST(Query, SaysWhoAsks) {
  EXPECT_PASSES_IN_A_CHILD(checkVersions());
}

}  // namespace
}  // namespace PellixTests
