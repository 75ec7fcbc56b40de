#include "Bridge/Bridge.h"

#include <gmock/gmock.h>

namespace BridgeTests {
namespace {

using PellixTests::reply;
using QuorvelCoreSDK::TransportReply;
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
    TransportReply reply;
    std::string ofAQuestion;
    std::string ofAReport;
  };
  const Ending endings[] = {
      {reply(200, PellixTests::responseJSON()), "response 7", "status 200"},
      {reply(404, "{}"), "com.pellix.providers 404", "com.pellix.providers 404"},
      {{}, "", ""},
  };
  for (const auto& ending : endings) {
    for (const bool isHeard : {true, false}) {
      SCOPED_TRACE(ending.ofAReport + (isHeard ? "" : ", unheard"));
      const Host host;
      for (const auto path : {PellixTests::queryPath, resolvePath, rejectPath}) {
        host.transport->answer(std::string(path), [&](const auto&) { return ending.reply; });
      }
      QVLDeflectionCallback finishQuestion = nullptr;
      QVLDispatcherCallback finishReport = nullptr;
      if (isHeard) {
        finishQuestion = &Outcome::finish;
        finishReport = &Outcome::finish;
      }
      Outcome outcomes[3];
      ask(outcomes[0], "How?", finishQuestion);
      resolve(outcomes[1], finishReport);
      reject(outcomes[2], 2, finishReport);
      for (const auto& outcome : outcomes) EXPECT_EQ(outcome.releases, 0);
      Support::settle(*host.transport);
      for (const auto& outcome : outcomes) {
        const auto& expected = &outcome == outcomes ? ending.ofAQuestion : ending.ofAReport;
        EXPECT_EQ(outcome.text, isHeard ? expected : "");
        EXPECT_EQ(outcome.releases, 1);
      }
    }
  }
}

TEST(BridgedOperation, SendsWhatItIsGiven) {
  using namespace std::string_literals;
  const Host host;
  Outcome outcomes[6];
  ask(outcomes[0], "a\0b"s);
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(provider(), nullptr, 0, nullptr,
                                                            nullptr, nullptr);
  ask(outcomes[1], "\xFF");  // can't be encoded: ends silently
  resolve(outcomes[2]);
  reject(outcomes[3], QVLRejectionReason2);
  reject(outcomes[4], 7);
  reject(outcomes[5], -1);
  Support::settle(*host.transport);
  EXPECT_EQ(outcomes[1].text, "");
  for (const auto& outcome : outcomes) EXPECT_EQ(outcome.releases, 1);
  EXPECT_THAT(
      bodies(host, PellixTests::queryPath),
      testing::ElementsAre(HasSubstr(R"("enquiry":"a\u0000b")"), HasSubstr(R"("enquiry":"")")));
  EXPECT_THAT(
      bodies(host, resolvePath),
      testing::ElementsAre(R"({"deflection_id":7,"article_id":-4711,"resolution_channel_id":65,)"
                           R"("interaction_access_token":"token"})"));
  const std::string rejection =
      R"({"deflection_id":7,"article_id":-9223372036854775808,"resolution_channel_id":65,)"
      R"("interaction_access_token":"token","reason_id":)";
  EXPECT_THAT(bodies(host, rejectPath),
              testing::ElementsAre(rejection + "2}", rejection + "7}", rejection + "-1}"));
}

TEST(BridgedReason, IsOneOfThree) {
  for (const std::int64_t number : {0, 1, 2, 3, -1}) {
    QVLRejectionReason reason = 9;
    const bool isOne = number >= 0 && number <= 2;
    EXPECT_EQ(QVLRejectionReason_initWithRawValue(number, &reason), isOne);
    EXPECT_EQ(reason, isOne ? number : 9);
    EXPECT_EQ(QVLRejectionReason_initWithRawValue(number, nullptr), isOne);
  }
}

void addSettings(const QVLPellixSettings* settings, void* context) {
  static_cast<Outcome*>(context)->text += !settings                             ? "null"
                                          : QVLPellixSettings_enabled(settings) ? "enabled"
                                                                                : "disabled";
}

TEST(BridgedSettings, AreThoseOfTheAccount) {
  const std::pair<const char*, const char*> cases[] = {
      {PellixTests::enabled, "enabled"}, {PellixTests::disabled, "disabled"}, {nullptr, "null"}};
  for (const auto& [document, expected] : cases) {
    const Host host(std::make_shared<PellixTests::OwnSettings>(document));
    Outcome outcome;
    QVLPellixSettingsProvider_getSettingsWithCallback(addSettings, &outcome, Outcome::release);
    QVLPellixSettingsProvider_getSettingsWithCallback(nullptr, &outcome, Outcome::release);
    EXPECT_EQ(outcome.text, expected);
    EXPECT_EQ(outcome.releases, 2);
  }
  const auto* own = QVLPellixSettings_init();
  EXPECT_FALSE(QVLPellixSettings_enabled(own));
  QVLRelease(own);
}

}  // namespace
}  // namespace BridgeTests
