#include "Bridge/Bridge.h"
#include "Support/StandardOutput.h"

#include <gmock/gmock.h>

namespace BridgeTests {
namespace {

using PellixTests::disabled;
using PellixTests::enabled;
using PellixTests::reply;
using QuorvelCoreSDK::TransportReply;
using QuorvelCoreSDK::TransportRequest;
using testing::HasSubstr;

/// The bodies sent to a path.
std::vector<std::string> bodies(const Host& host, std::string_view path) {
  std::vector<std::string> bodies;
  for (const auto& request : host.transport->requests(path)) {
    bodies.push_back(request.body.value_or("none"));
  }
  return bodies;
}

TEST(BridgedOperation, GivesARecordOrAnErrorOrNothingAndReleasesItsContextOnce) {
  struct Ending {
    const char* what;
    const char* settings;
    TransportReply reply;
    std::string ofAQuestion;
    std::string ofAReport;
  };
  const Ending endings[] = {
      {"success", enabled, reply(200, PellixTests::responseJSON()), "response 7", "status 200"},
      {"HTTP error", enabled, reply(404, "{}"), "com.pellix.providers 404",
       "com.pellix.providers 404"},
      {"undecodable", enabled, reply(200, "[]"), "Platform.DecodingError 3", "status 200"},
      {"both a reply and an error", enabled, reply(200, "", PellixPlatform::Error("lost", 3)),
       "lost 3", "lost 3"},
      {"no body", enabled, reply(204, std::nullopt), "", "status 204"},
      {"nothing at all", enabled, {}, "", ""},
      {"disabled", disabled, {}, "QV_Pellix_Disabled 1006", "QV_Pellix_Disabled 1006"},
  };
  for (const auto& ending : endings) {
    for (const auto& operation : operations) {
      SCOPED_TRACE(std::string(operation.name) + ": " + ending.what);
      const Host host;
      host.transport->answer(std::string(QuorvelCoreSDK::ServicePaths::accountSettings), 200,
                             ending.settings);
      host.transport->answer(std::string(operation.path),
                             [&](const TransportRequest&) { return ending.reply; });
      Outcome outcome;
      operation.start(outcome);
      EXPECT_EQ(outcome.releases, 0);
      Support::settle(*host.transport);
      EXPECT_EQ(outcome.text,
                operation.path == PellixTests::queryPath ? ending.ofAQuestion : ending.ofAReport);
      EXPECT_EQ(outcome.releases, 1);

      Outcome unheard;
      operation.startWithoutCallback(unheard);
      Support::settle(*host.transport);
      EXPECT_EQ(unheard.text, "");
      EXPECT_EQ(unheard.releases, 1);
    }
  }
}

TEST(BridgedOperation, SendsWhatItIsGiven) {
  using namespace std::string_literals;
  const std::pair<std::string, std::string> queries[] = {
      {"How?", R"("enquiry":"How?")"},
      {"a\0b"s, R"("enquiry":"a\u0000b")"},
      {"", R"("enquiry":"")"},
  };
  for (const auto& [query, sent] : queries) {
    const Host host;
    Outcome outcome;
    ask(outcome, query);
    Support::settle(*host.transport);
    EXPECT_THAT(bodies(host, PellixTests::queryPath), testing::ElementsAre(HasSubstr(sent)));
  }

  const Host host;
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(provider(), nullptr, 0, nullptr,
                                                            nullptr, nullptr);
  Outcome resolution;
  resolve(resolution);
  Outcome rejections[3];
  reject(rejections[0], QVLRejectionReason2);
  reject(rejections[1], 7);
  reject(rejections[2], -1);
  Support::settle(*host.transport);
  EXPECT_EQ(host.sentQueries(), 1U);
  EXPECT_THAT(
      bodies(host, resolvePath),
      testing::ElementsAre(R"({"deflection_id":7,"article_id":-4711,"resolution_channel_id":65,)"
                           R"("interaction_access_token":"token"})"));
  const std::string rejection =
      R"({"deflection_id":7,"article_id":-9223372036854775808,"resolution_channel_id":65,)"
      R"("interaction_access_token":"token","reason_id":)";
  EXPECT_THAT(bodies(host, rejectPath),
              testing::ElementsAre(rejection + "2}", rejection + "7}", rejection + "-1}"));
  EXPECT_EQ(host.transport->requests("/knowledge/v1/articles/-4711/votes/up").size(), 1U);
}

TEST(BridgedOperation, EndsSilentlyIfItsTextIsNotUTF8) {
  const Host host;
  const Support::StandardOutput output;
  Outcome outcome;
  ask(outcome, "\xFF");
  Support::settle(*host.transport);
  EXPECT_EQ(outcome.text, "");
  EXPECT_EQ(outcome.releases, 1);
  EXPECT_EQ(host.sentQueries(), 0U);
  EXPECT_EQ(output.text(),
            "Error: Encoding failed: the value of \"enquiry\" is not valid UTF-8.\n");
}

TEST(BridgedReason, IsOneOfThree) {
  for (const std::int64_t number : {0, 1, 2}) {
    QVLRejectionReason reason = 9;
    EXPECT_TRUE(QVLRejectionReason_initWithRawValue(number, &reason));
    EXPECT_EQ(reason, number);
    EXPECT_TRUE(QVLRejectionReason_initWithRawValue(number, nullptr));
  }
  for (const std::int64_t number : {std::int64_t{3}, std::int64_t{-1}, INT64_MAX, INT64_MIN}) {
    QVLRejectionReason reason = 9;
    EXPECT_FALSE(QVLRejectionReason_initWithRawValue(number, &reason));
    EXPECT_EQ(reason, 9);
  }
}

struct Settings {
  std::string text;
  int releases = 0;
};

void keepSettings(const QVLPellixSettings* settings, void* context) {
  auto& self = *static_cast<Settings*>(context);
  self.text += !settings ? "null" : QVLPellixSettings_enabled(settings) ? "enabled" : "disabled";
}

TEST(BridgedSettings, AreThoseOfTheAccount) {
  const std::pair<const char*, const char*> cases[] = {
      {enabled, "enabled"}, {disabled, "disabled"}, {nullptr, "null"}};
  for (const auto& [document, expected] : cases) {
    const auto service = std::make_shared<PellixTests::OwnSettings>(document);
    const Host host(service);
    for (const bool hasCallback : {true, false}) {
      Settings settings;
      QVLPellixSettingsProvider_getSettingsWithCallback(
          hasCallback ? keepSettings : nullptr, &settings,
          [](void* context) { ++static_cast<Settings*>(context)->releases; });
      EXPECT_EQ(settings.text, hasCallback ? expected : "");
      EXPECT_EQ(settings.releases, 1);
    }
  }
}

TEST(BridgedSettings, MadeByTheHostAreDisabled) {
  const auto* first = QVLPellixSettings_init();
  const auto* second = QVLPellixSettings_init();
  EXPECT_FALSE(QVLPellixSettings_enabled(first));
  EXPECT_NE(first, second);
  QVLRelease(first);
  QVLRelease(second);
}

}  // namespace
}  // namespace BridgeTests
