#include "Bridge/Bridge.h"
#include "Support/ChildProcess.h"
#include "Support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>
#include <ctime>

/// What a host sets up and chooses, but for the options of the core.
namespace BridgeTests {
namespace {

using testing::HasSubstr;

TEST(CHost, ChoosesTheLocaleAndHowMuchIsLogged) {
  const Host host;
  Outcome log;
  Outcome outcome;
  EXPECT_TRUE(QVLCoreLogger_setSink(keepLine, log.begin(), Outcome::release));
  EXPECT_TRUE(QVLLocale_setPreferredLanguages(nullptr, 0));
  for (const char* locale : {"ja", "", static_cast<const char*>(nullptr)}) {
    EXPECT_TRUE(QVLVeltrane_setLumenoLocaleOverride(seen<QVLVeltrane>(*host.veltrane), locale,
                                                    locale ? QVL_UNTIL_NUL : 0));
    ask(outcome);
    host.transport->settle();
  }
  EXPECT_THAT(bodies(host, PellixTests::queryPath),
              testing::ElementsAre(HasSubstr(R"("locale":"ja")"), HasSubstr(R"("locale":"")"),
                                   HasSubstr(R"("locale":"de")")));
  EXPECT_THAT(log.text, HasSubstr("0: UUID for deflection: "));
  QVLCoreLogger_setLevel(99);
  const auto size = log.text.size();
  ask(outcome);
  host.transport->settle();
  QVLCoreLogger_setSink(nullptr, nullptr, nullptr);
  EXPECT_EQ(log.text.size(), size);
  EXPECT_EQ(log.releases, 1);
}

TEST(CHost, IsToldWhenASinkOfTheLogIsNotNeededAnyMore) {
  const auto leave = [](int, const char*, size_t, void* context) {
    QVLCoreLogger_setSink(nullptr, nullptr, nullptr);
    auto& outcome = *static_cast<Outcome*>(context);
    outcome.text = outcome.releases == 0 ? "held while it runs" : "gone";
  };
  Outcome log;
  QVLCoreLogger_setSink(leave, log.begin(), Outcome::release);
  QVLPellix_initializeWithQuorvel_veltrane(nullptr, nullptr);
  EXPECT_EQ(log.ending(), "silence");
  EXPECT_EQ(log.text, "held while it runs");
  QVLPellix_initializeWithQuorvel_veltrane(nullptr, nullptr);  // says so on standard error
}

TEST(CHost, DrivesTheMainQueueFromItsOwnLoop) {
  const Host host;
  const auto wake = [](void* context) { static_cast<Outcome*>(context)->text += "woken"; };
  Outcome hook;
  Outcome outcome;
  QVLMainQueue_setWakeHook(wake, hook.begin(), Outcome::release);
  ask(outcome);
  host.transport->run();
  EXPECT_EQ(hook.text, "woken");
  EXPECT_EQ(outcome.ending(), "still held, silence");
  QVLMainQueue_runPending();
  EXPECT_EQ(outcome.ending(), "record 7");
  ask(outcome);
  host.transport->run();
  EXPECT_TRUE(QVLMainQueue_runFor(0));
  EXPECT_FALSE(QVLMainQueue_runFor(0));
  EXPECT_EQ(hook.releases, 0);
  QVLMainQueue_setWakeHook(nullptr, nullptr, nullptr);
  EXPECT_EQ(hook.releases, 1);
}

TEST(CHost, HearsWhyThereAreNoSettings) {
  const Host host;
  const auto* quorvel = seen<const QVLQuorvel>(*host.quorvel);
  EXPECT_EQ(QVLQuorvel_lastSettingsFailure(quorvel, nullptr), nullptr);
  host.transport->answer(std::string(PellixTests::accountSettings), 404, "");
  EXPECT_TRUE(QVLQuorvel_prepare(quorvel));
  EXPECT_FALSE(QVLQuorvel_waitUntilIdle(quorvel, 0));
  host.transport->settle();
  EXPECT_TRUE(QVLQuorvel_waitUntilIdle(quorvel, 0));
  int64_t time = 0;
  const auto* failure = QVLQuorvel_lastSettingsFailure(quorvel, &time);
  ASSERT_NE(failure, nullptr);
  EXPECT_EQ(QVLError_code(failure), QVLCoreErrorTransportFailed);
  EXPECT_LE(std::abs(time / 1000 - std::time(nullptr)), 60);
  QVLRelease(failure);
}

void checkWhatCanNotBeSetUp() {
  const QVLError* error = nullptr;
  EXPECT_EQ(QVLQuorvel_initialize("http://acme.example", QVL_UNTIL_NUL, "app", 3, "client", 6,
                                  nullptr, &error),
            nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(QVLError_code(error), QVLCoreErrorInsecureUrl);
  QVLRelease(error);
  QVLRelease(QVLQuorvel_initialize("https://acme.example", QVL_UNTIL_NUL, "app", 3, "client", 6,
                                   nullptr, &error));
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(PellixTests::Quorvel::instance()->accountDetails().applicationId(), "app");
  EXPECT_FALSE(QVLBundle_setResourceDirectory("/tmp\0/none", 10));
  EXPECT_FALSE(QVLBundle_setResourceDirectory("/none", QVL_UNTIL_NUL));
  auto* const configuration = QVLQuorvelConfiguration_init();
  EXPECT_FALSE(QVLQuorvelConfiguration_setCertificateAuthorities(configuration, "/tmp\0/none", 10));
  QVLRelease(configuration);

  EXPECT_EQ(QVLPellix_version(nullptr, 0), std::strlen("1.0.0"));
  const Host host;
  const Support::TemporaryDirectory directory;
  ASSERT_TRUE(QVLBundle_setResourceDirectory(directory.path().c_str(), QVL_UNTIL_NUL));
  EXPECT_EQ(host.outcomeOf(), "silence");  // there is no endpoint there
  char version[20];
  for (const auto& [capacity, kept] : {std::pair(size_t{6}, "1.0.0"), {20, "1.0.0-default"}}) {
    EXPECT_EQ(QVLPellix_version(version, capacity), std::strlen("1.0.0-default"));
    EXPECT_STREQ(version, kept);
  }
}

TEST(CHost, HearsWhatCanNotBeSetUp) {
  EXPECT_PASSES_IN_A_CHILD(checkWhatCanNotBeSetUp());
}

}  // namespace
}  // namespace BridgeTests
