#include "PellixProvidersSDK/Host.h"
#include "Support/ChildProcess.h"
#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/Bundle.h>
#include <PellixPlatform/Locale.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace PellixTests {
namespace {

using testing::ElementsAre;
using testing::Pair;

const std::string response = "response 7 11 -12";

nlohmann::json sentBody(const Host& host) {
  const auto sent = host.transport->requests(queryPath);
  return sent.empty() ? nullptr : nlohmann::json::parse(sent.back().body.value());
}

TEST(Query, FetchesInOrderAndAsksForTheSettingsEachTime) {
  const auto settings = std::make_shared<OwnSettings>(enabled);
  const Host host(settings);
  for (std::size_t count = 1; count <= 3; ++count) {
    EXPECT_EQ(host.outcomeOf(), response);
    EXPECT_EQ(settings->asked, count);
  }
  EXPECT_THAT(host.requestedPaths(),
              ElementsAre(knowledgeSettings, queryPath, queryPath, queryPath));

  Host other;
  EXPECT_EQ(other.outcomeOf(), response);
  EXPECT_THAT(other.requestedPaths(), ElementsAre(knowledgeSettings, accountSettings, queryPath));
  EXPECT_THAT(other.newLines(),
              ElementsAre("debug: UUID for deflection: " + other.UUID, "info: called"));
}

TEST(Query, SendsTheText) {
  using namespace std::string_literals;
  const Host host;
  const std::string texts[] = {
      "",      "  How do I reset it? \n", "\"quotes\" \\ \t", "e\u0301 \u65e5\u672c \U0001F642",
      "a\0b"s, std::string(100'000, 'x')};
  for (const auto& text : texts) {
    Outcome outcome;
    host.ask(outcome, text);
    host.transport->settle();
    EXPECT_EQ(outcome.text(), response);
    EXPECT_EQ(sentBody(host), (nlohmann::json{{"via_id", 65},
                                              {"deflection_channel_id", 65},
                                              {"interaction_reference", host.UUID},
                                              {"interaction_reference_type", 4},
                                              {"enquiry", text},
                                              {"locale", "de"},
                                              {"labels", nlohmann::json::array()}}));
  }
  EXPECT_EQ(host.transport->requests().back().method, QuorvelCoreSDK::HttpMethod::post);
}

TEST(Query, SearchesInTheFirstLocaleToBeHad) {
  const struct {
    const char* what;
    std::optional<std::string> lumenoLocaleOverride;
    int status;
    std::string document;
    std::vector<std::string> preferred;
    std::string expected;
  } cases[] = {
      {"override as it is", " DE_x ", 200, R"({"locale":"de"})", {"pt-BR"}, " DE_x "},
      {"empty override", "", 200, R"({"locale":"de"})", {"pt-BR"}, ""},
      {"settings as they are", {}, 200, R"({"locale":"DE"})", {"pt-BR"}, "DE"},
      {"empty settings", {}, 200, R"({"locale":""})", {"pt-BR"}, ""},
      {"no settings", {}, 404, "", {"pt-BR", "en"}, "pt-BR"},
      {"settings of another shape", {}, 200, R"({"locale":null})", {"EN_us", "de"}, "EN_us"},
      {"no settings and no languages", {}, 404, "", {}, ""},
  };
  for (const auto& each : cases) {
    const Host host;
    host.veltrane->setLumenoLocaleOverride(each.lumenoLocaleOverride);
    host.transport->answer(std::string(knowledgeSettings), each.status, each.document);
    PellixPlatform::Locale::setPreferredLanguages(each.preferred);
    EXPECT_EQ(host.outcomeOf(), response) << each.what;
    EXPECT_EQ(sentBody(host)["locale"], each.expected) << each.what;
    EXPECT_EQ(host.transport->requests(knowledgeSettings).size(),
              each.lumenoLocaleOverride ? 0U : 1U)
        << each.what;
  }
  PellixPlatform::Locale::setPreferredLanguages(std::nullopt);
}

TEST(Query, ChoosesTheLocaleAfreshByTheSharedInstance) {
  const Host host(std::make_shared<OwnSettings>(enabled));
  host.veltrane->setLumenoLocaleOverride("fr");
  Outcome outcome;
  host.ask(outcome);
  EXPECT_EQ(sentBody(host)["locale"], "fr");  // known within the call
  host.transport->settle();

  const auto later = Veltrane::initialize(host.quorvel);
  for (const auto& locale : {std::optional<std::string>("ja"), {}}) {
    later->setLumenoLocaleOverride(locale);
    EXPECT_EQ(host.outcomeOf(), response);
    EXPECT_EQ(sentBody(host)["locale"], locale.value_or("de"));
  }
}

void checkVersions() {
  const std::pair<std::string, const char*> cases[] = {
      {"<key>CFBundleShortVersionString</key><string> 2.3.1 </string>", " 2.3.1 "},
      {"<key>CFBundleShortVersionString</key><string></string>", ""},
      {"<key>CFBundleShortVersionString</key><integer>2</integer>", "1.0.0-default"},
      {"<key>CFBundleShortVersionString</key><array><string>2</string></array>", "1.0.0-default"},
      {"<key>cfbundleshortversionstring</key><string>2.3.1</string>", "1.0.0-default"},
      {"<true/>", "1.0.0-default"},
      {"missing", "1.0.0-default"},
  };
  const Host host;
  EXPECT_EQ(host.outcomeOf(), response);  // which reads the endpoint table
  // The version is looked up for each request.
  for (const auto& [entry, version] : cases) {
    const Support::TemporaryDirectory resources;
    if (entry != "missing") {
      resources.write("Info.plist", "<plist><dict>" + entry + "</dict></plist>");
    }
    EXPECT_TRUE(PellixPlatform::Bundle::setResourceDirectory(resources.path()));
    EXPECT_EQ(host.outcomeOf(), response);
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
