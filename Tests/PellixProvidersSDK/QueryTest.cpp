#include "PellixProvidersSDK/Host.h"
#include "Support/ChildProcess.h"
#include "Support/StandardOutput.h"
#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/Bundle.h>
#include <PellixPlatform/DecodingError.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace PellixTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

const PellixPlatform::Error transportError("host.transport", -7, {{"reason", "it rained"}});

void answerSettings(Host& host, int status, std::string document) {
  host.transport->answer(std::string(accountSettings), status, std::move(document));
}

void answerQuery(Host& host, TransportReply with) {
  host.transport->answer(std::string(queryPath),
                         [with = std::move(with)](const TransportRequest&) { return with; });
}

TEST(Query, GivesTheResponse) {
  const Host host;
  Outcome outcome;
  host.ask(outcome);
  Support::settle(*host.transport);
  ASSERT_EQ(outcome.text(), "response 7");
  const auto& response = **outcome.results.front();
  EXPECT_EQ(response.interactionAccessToken(), "token");
  ASSERT_EQ(response.deflectionArticles().size(), 2U);
  EXPECT_EQ(response.deflectionArticles()[0]->id(), 11);
  EXPECT_EQ(response.deflectionArticles()[1]->id(), -12);
}

TEST(Query, EndsAsItsStagesDo) {
  const struct {
    const char* what;
    void (*arrange)(Host&);
    std::string expected;
    std::size_t sentQueries;
  } cases[] = {
      {"disabled", [](Host& host) { answerSettings(host, 200, disabled); },
       "QV_Pellix_Disabled 1006", 0},
      {"settings of another shape", [](Host& host) { answerSettings(host, 200, "{}"); },
       "QV_Pellix_Disabled 1006", 0},
      {"no settings to be had", [](Host& host) { answerSettings(host, 500, enabled); },
       "QV_Pellix_Disabled 1006", 0},
      {"transport error", [](Host& host) { answerQuery(host, {.error = transportError}); },
       "host.transport -7", 1},
      {"transport error beside a response",
       [](Host& host) { answerQuery(host, reply(200, responseJSON(), transportError)); },
       "host.transport -7", 1},
      {"neither response nor error",
       [](Host& host) { answerQuery(host, {.data = responseJSON()}); }, "silence", 1},
      {"a response that is not HTTP's",
       [](Host& host) {
         answerQuery(host,
                     {.data = responseJSON(),
                      .response = std::make_shared<const PellixPlatform::URLResponse>("file:a")});
       },
       "silence", 1},
      {"no body", [](Host& host) { answerQuery(host, reply(204, std::nullopt)); }, "silence", 1},
      {"no body, 200", [](Host& host) { answerQuery(host, reply(200, std::nullopt)); }, "silence",
       1},
      {"an empty body", [](Host& host) { answerQuery(host, reply(200, "")); }, "silence", 1},
      {"an empty object", [](Host& host) { answerQuery(host, reply(200, "{}")); },
       "Platform.DecodingError 1 deflection", 1},
      {"not JSON", [](Host& host) { answerQuery(host, reply(201, "<html>")); },
       "Platform.DecodingError 5", 1},
      {"success at the lower end",
       [](Host& host) { answerQuery(host, reply(200, responseJSON())); }, "response 7", 1},
      {"success at the upper end",
       [](Host& host) { answerQuery(host, reply(299, responseJSON())); }, "response 7", 1},
  };
  for (const auto& [what, arrange, expected, sentQueries] : cases) {
    Host host;
    arrange(host);
    EXPECT_EQ(host.outcomeOf(), expected) << what;
    EXPECT_EQ(host.sentQueries(), sentQueries) << what;
  }
}

TEST(Query, HandsErrorsOfTheRequestServiceOnUnchanged) {
  Host host;
  answerQuery(host, reply(503, "x", transportError));
  Outcome outcome;
  host.ask(outcome);
  Support::settle(*host.transport);
  ASSERT_EQ(outcome.results.size(), 1U);
  EXPECT_EQ(outcome.results[0].error(), transportError);

  const auto tokenless =
      Quorvel::initialize({"https://acme.example", "no token", "c"}, {.transport = host.transport});
  Pellix::initialize(*tokenless, host.veltrane);
  host.provider = Pellix::instance()->provider();
  EXPECT_EQ(host.outcomeOf(), QuorvelCoreSDK::CoreErrorDomain + std::string(" 3"));
  EXPECT_EQ(host.sentQueries(), 1U);
}

TEST(Query, TurnsOtherStatusesIntoErrors) {
  const struct {
    int status;
    const char* text;
    const char* statusCode;
  } cases[] = {
      {100, "Continue", "HTTP Error: 100"},
      {199, "Unknown status", "HTTP Error: 199"},
      {300, "Multiple Choices", "HTTP Error: 300"},
      {304, "Not Modified", "HTTP Error: 304"},
      {401, "Unauthorized", "HTTP Error: 401"},
      {404, "Not Found", "HTTP Error: 404"},
      {500, "Internal Server Error", "HTTP Error: 500"},
      {999, "Unknown status", "HTTP Error: 999"},
  };
  for (const auto& [status, text, statusCode] : cases) {
    for (const auto& data : {std::optional(responseJSON()), std::optional<std::string>()}) {
      Host host;
      answerQuery(host, reply(status, data));
      Outcome outcome;
      host.ask(outcome);
      Support::settle(*host.transport);
      ASSERT_EQ(outcome.results.size(), 1U) << status;
      EXPECT_EQ(outcome.results[0].error(),
                PellixPlatform::Error(
                    PellixProvidersSDK::PellixErrorDomain, status,
                    {{"NSLocalizedDescriptionKey", text}, {"status_code", statusCode}}));
      EXPECT_TRUE(outcome.isReleased()) << status;
    }
  }
}

TEST(Query, SaysThatTheFeatureIsDisabled) {
  Host host;
  answerSettings(host, 200, disabled);
  Outcome outcome;
  host.ask(outcome);
  Support::settle(*host.transport);
  ASSERT_EQ(outcome.results.size(), 1U);
  EXPECT_EQ(outcome.results[0].error(), PellixPlatform::Error("QV_Pellix_Disabled", 1006));
  EXPECT_THAT(host.newLines(), ElementsAre("debug: UUID for deflection: " + host.UUID,
                                           "warn: Pellix is disabled at account level."));
  EXPECT_THAT(host.requestedPaths(), ElementsAre(knowledgeSettings, accountSettings));
}

TEST(Query, CountsNoSettingsAsDisabled) {
  const auto settings = std::make_shared<OwnSettings>();
  Host host(settings);
  EXPECT_EQ(host.outcomeOf(), "QV_Pellix_Disabled 1006");
  EXPECT_EQ(host.sentQueries(), 0U);
  EXPECT_THAT(host.newLines(), ElementsAre("debug: UUID for deflection: " + host.UUID,
                                           "warn: Pellix is disabled at account level."));
}

TEST(Query, EndsSilentlyIfTheTextCanNotBeEncodedUnlessTheFeatureIsDisabled) {
  const struct {
    const char* settings;
    std::string expected;
  } cases[] = {{enabled, "silence"}, {disabled, "QV_Pellix_Disabled 1006"}};
  for (const auto& [settings, expected] : cases) {
    Host host;
    answerSettings(host, 200, settings);
    const Support::StandardOutput output;
    EXPECT_EQ(host.outcomeOf("half a letter: \xC3"), expected);
    EXPECT_THAT(output.text(), testing::MatchesRegex("Error: [^\n]*enquiry[^\n]*\n"));
    EXPECT_EQ(host.sentQueries(), 0U);
    EXPECT_EQ(host.transport->requests(accountSettings).size(), 1U);
    EXPECT_THAT(host.newLines(), testing::Not(testing::Contains(testing::HasSubstr("encode"))));
  }
}

TEST(Query, FetchesInOrderAndAsksForTheSettingsEachTime) {
  const auto settings = std::make_shared<OwnSettings>(enabled);
  const Host host(settings);
  for (std::size_t count = 1; count <= 3; ++count) {
    EXPECT_EQ(host.outcomeOf(), "response 7");
    EXPECT_EQ(settings->asked, count);
  }
  EXPECT_THAT(host.requestedPaths(),
              ElementsAre(knowledgeSettings, queryPath, queryPath, queryPath));

  const Host other;
  EXPECT_EQ(other.outcomeOf(), "response 7");
  EXPECT_THAT(other.requestedPaths(), ElementsAre(knowledgeSettings, accountSettings, queryPath));
}

TEST(Query, SendsTheText) {
  using namespace std::string_literals;
  const Host host;
  const std::string texts[] = {
      "",      "  How do I reset it? \n", "\"quotes\" \\ \t", "e\u0301 \u65e5\u672c \U0001F642",
      "a\0b"s, std::string(100'000, 'x')};
  for (const auto& text : texts) {
    EXPECT_EQ(host.outcomeOf(text), "response 7");
    const auto sent = host.transport->requests(queryPath).back();
    EXPECT_EQ(sent.url.string(), "https://acme.example/answers/v1/interactions");
    EXPECT_EQ(sent.method, QuorvelCoreSDK::HttpMethod::post);
    EXPECT_EQ(nlohmann::json::parse(sent.body.value()),
              (nlohmann::json{{"via_id", 65},
                              {"deflection_channel_id", 65},
                              {"interaction_reference", host.UUID},
                              {"interaction_reference_type", 4},
                              {"enquiry", text},
                              {"locale", "de"},
                              {"labels", nlohmann::json::array()}}));
  }
}

TEST(Query, SaysWhoAsks) {
  const struct {
    const char* entry;
    const char* version;
  } cases[] = {
      {"<key>CFBundleShortVersionString</key><string>2.3.1</string>", "2.3.1"},
      {"<key>CFBundleShortVersionString</key><string> 2 </string>", " 2 "},
      {"<key>CFBundleShortVersionString</key><string></string>", ""},
      {"<key>CFBundleShortVersionString</key><integer>2</integer>", "1.0.0-default"},
      {"<key>CFBundleShortVersionString</key><array><string>2</string></array>", "1.0.0-default"},
      {"<key>cfbundleshortversionstring</key><string>2.3.1</string>", "1.0.0-default"},
      {"", "1.0.0-default"},
      {"<true/>", "1.0.0-default"},
  };
  const auto check = [&] {
    Host host;
    // Which reads the endpoint table. What is carried is what stands in the sources.
    EXPECT_EQ(host.outcomeOf(), "response 7");
    EXPECT_THAT(host.transport->requests().back().headers,
                testing::Contains(Pair("X-Quorvel-Client-Version", "1.0.0")));
    // The version is looked up for each request.
    for (const auto& [entry, version] : cases) {
      const Support::TemporaryDirectory resources;
      resources.write("Info.plist", "<plist><dict>" + std::string(entry) + "</dict></plist>");
      EXPECT_TRUE(PellixPlatform::Bundle::setResourceDirectory(resources.path()));
      EXPECT_EQ(host.outcomeOf(), "response 7");
      EXPECT_THAT(host.transport->requests().back().headers,
                  UnorderedElementsAre(Pair("Authorization", "Bearer secret"),
                                       Pair("Accept", "application/json"),
                                       Pair("Content-Type", "application/json; charset=utf-8"),
                                       Pair("X-Quorvel-Client", "Pellix"),
                                       Pair("X-Quorvel-Client-Version", version)));
    }
    const Support::TemporaryDirectory nothing;
    EXPECT_TRUE(PellixPlatform::Bundle::setResourceDirectory(nothing.path()));
    EXPECT_EQ(host.outcomeOf(), "response 7");
    EXPECT_THAT(host.transport->requests().back().headers,
                testing::Contains(Pair("X-Quorvel-Client-Version", "1.0.0-default")));
  };
  EXPECT_PASSES_IN_A_CHILD(check());
}

}  // namespace
}  // namespace PellixTests
