#include "Bridge/Bridge.h"
#include "Support/ChildProcess.h"

#include <gmock/gmock.h>

#include <future>

namespace BridgeTests {
namespace {

using PellixTests::reply;
using QuorvelCoreSDK::TransportReply;
using testing::HasSubstr;

TEST(BridgedOperation, GivesARecordOrAnErrorOrNothingAndReleasesItsContextOnce) {
  const std::tuple<TransportReply, std::string, std::string> endings[] = {
      {reply(200, PellixTests::responseJSON()), "record 7", "record 200"},
      {reply(404, "{}"), "com.pellix.providers 404", "com.pellix.providers 404"},
      {{}, "silence", "silence"},
  };
  for (const auto& [reply, ofAQuestion, ofAReport] : endings) {
    const Host host;
    for (const auto path :
         {PellixTests::queryPath, PellixTests::resolvePath, PellixTests::rejectPath}) {
      host.transport->answer(std::string(path), [&reply](const auto&) { return reply; });
    }
    Outcome outcomes[3];
    ask(outcomes[0]);
    resolve(outcomes[1]);
    reject(outcomes[2]);
    host.transport->settle();
    for (const auto& outcome : outcomes) {
      EXPECT_EQ(outcome.ending(), &outcome == outcomes ? ofAQuestion : ofAReport);
    }
    EXPECT_THAT(bodies(host, PellixTests::resolvePath).at(0),
                HasSubstr(R"("deflection_id":7,"article_id":-4711,)"));
  }
}

TEST(BridgedOperation, SendsWhatItIsGiven) {
  using namespace std::string_literals;
  const Host host;
  Outcome outcome;
  ask(outcome, "a\0b"s, nullptr);
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(provider(), nullptr, 0, nullptr,
                                                            nullptr, nullptr);
  ask(outcome, "\xFF");  // can't be encoded: ends silently
  reject(outcome, QVLRejectionReason2, nullptr);
  reject(outcome, 7, nullptr);
  reject(outcome, -1, nullptr);
  host.transport->settle();
  EXPECT_EQ(outcome.ending(), "silence");
  EXPECT_THAT(
      bodies(host, PellixTests::queryPath),
      testing::ElementsAre(HasSubstr(R"("enquiry":"a\u0000b")"), HasSubstr(R"("enquiry":"")")));
  const std::string rejection =
      R"({"deflection_id":7,"article_id":-9223372036854775808,"resolution_channel_id":65,)"
      R"("interaction_access_token":"token","reason_id":)";
  EXPECT_THAT(bodies(host, PellixTests::rejectPath),
              testing::ElementsAre(rejection + "2}", rejection + "7}", rejection + "-1}"));
}

void checkThatAllComesOnTheMainQueue() {
  EXPECT_TRUE(QVLMainQueue_takeAllCallbacks());
  static bool shutsDown = false;
  const auto keep = [](int level, const char* line, size_t length, void* context) {
    keepLine(level, line, length, context);
    QVLPellix_initializeWithQuorvel_veltrane(nullptr, nullptr);  // logs, but not to here
    if (!shutsDown) return;
    EXPECT_TRUE(QVLQuorvel_shutDown(0));  // does not wait for its own callback
    EXPECT_FALSE(std::async(std::launch::async, QVLQuorvel_shutDown, 0).get());
  };
  Outcome log;
  Outcome outcome;
  const Host host(std::make_shared<PellixTests::OwnSettings>(PellixTests::disabled));
  const auto start = [&] {
    QVLCoreLogger_setSink(keep, log.begin(), Outcome::release);
    resolve(outcome);
    reject(outcome, 2, nullptr);
    QVLCoreLogger_setSink(nullptr, nullptr, nullptr);
  };
  start();
  Outcome idle;
  QVLCoreLogger_setSink(keep, idle.begin(), Outcome::release);
  QVLCoreLogger_setSink(nullptr, nullptr, nullptr);
  for (const auto* each : {&outcome, &log, &idle}) EXPECT_EQ(each->ending(), "still held, silence");
  while (QVLMainQueue_runFor(0)) continue;
  EXPECT_EQ(outcome.ending(), PellixTests::isDisabled);
  const std::string line = "2: Pellix is disabled at account level.\n";
  EXPECT_EQ(log.text, line + line);
  EXPECT_EQ(log.releases, 1);
  EXPECT_EQ(idle.releases, 1);

  shutsDown = true;  // which lets go of what waits
  log.onRelease = [] { EXPECT_TRUE(QVLQuorvel_shutDown(0)); };
  start();
  while (QVLMainQueue_runFor(0)) continue;
  EXPECT_EQ(outcome.ending(), PellixTests::isDisabled);
  EXPECT_EQ(log.releases, 2);
  EXPECT_TRUE(std::async(std::launch::async, QVLQuorvel_shutDown, 0).get());
}

TEST(BridgedOperation, EndsOnTheMainQueueAloneIfTheHostSaysSo) {
  EXPECT_PASSES_IN_A_CHILD(checkThatAllComesOnTheMainQueue());
}

TEST(BridgedReason, IsOneOfThree) {
  for (const std::int64_t number : {0L, 1L, 2L, 3L, -1L, 1L << 32}) {
    QVLRejectionReason reason = 9;
    const bool isOne = number >= 0 && number <= 2;
    EXPECT_EQ(QVLRejectionReason_initWithRawValue(number, &reason), isOne);
    EXPECT_EQ(reason, isOne ? number : 9);
    EXPECT_EQ(QVLRejectionReason_initWithRawValue(number, nullptr), isOne);
  }
}

TEST(BridgedSettings, AreThoseOfTheAccountAndDisabledIfMadeByTheHost) {
  const auto add = [](const QVLPellixSettings* settings, void* context) {
    static_cast<Outcome*>(context)->add(settings != nullptr, [settings] {
      return settings ? std::to_string(QVLPellixSettings_enabled(settings)) : "null";
    });
  };
  for (const auto& [document, expected] :
       {std::pair(PellixTests::enabled, "1"), {PellixTests::disabled, "0"}, {nullptr, "null"}}) {
    const Host host(std::make_shared<PellixTests::OwnSettings>(document));
    Outcome outcome;
    QVLPellixSettingsProvider_getSettingsWithCallback(add, outcome.begin(), Outcome::release);
    QVLPellixSettingsProvider_getSettingsWithCallback(nullptr, outcome.begin(), Outcome::release);
    EXPECT_EQ(outcome.ending(), expected);
  }
  const auto* own = QVLPellixSettings_init();
  EXPECT_FALSE(QVLPellixSettings_enabled(own));
  QVLRelease(own);
}

}  // namespace
}  // namespace BridgeTests
