#include "Bridge/Bridge.h"
#include "Support/TemporaryDirectory.h"

#include <AnswerService.h>
#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <semaphore>

/// A host that starts everything through the C interface alone, on a real connection.
namespace BridgeTests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct CHost {
  explicit CHost(std::int64_t settingsTimeout = 60'000) {
    service.start();
    directory.write("own.pem", service.certificatePem());
    QVLCoreLogger_setLevel(QVLLogLevelDebug);
    QVLCoreLogger_setSink(keepLine, log.begin(), Outcome::release);
    auto* configuration = QVLQuorvelConfiguration_init();
    QVLQuorvelConfiguration_setToken(configuration, "demo-token and more", 10);
    QVLQuorvelConfiguration_setCertificateAuthorities(
        configuration, (directory.path() / "own.pem").c_str(), QVL_UNTIL_NUL);
    QVLQuorvelConfiguration_setSettingsTimeout(configuration, settingsTimeout);
    const auto url = service.baseUrl() + "/";
    quorvel = QVLQuorvel_initialize(url.data(), url.size(), url.data(), url.size(), "client", 6,
                                    configuration, nullptr);
    QVLRelease(configuration);
    veltrane = QVLVeltrane_initialize(quorvel);
    QVLPellix_initializeWithQuorvel_veltrane(quorvel, veltrane);
  }
  CHost(const CHost&) = delete;
  CHost& operator=(const CHost&) = delete;
  ~CHost() {
    QVLQuorvel_waitUntilIdle(quorvel, INT64_MAX);
    QVLCoreLogger_setSink(nullptr, nullptr, nullptr);
    EXPECT_EQ(log.releases, 1);
    QVLRelease(veltrane);
    QVLRelease(quorvel);
    EXPECT_EQ(QVLLiveReferences(), 0U);
  }

  AnswerService::Service service{{.token = "demo-token", .tls = true}};
  Support::TemporaryDirectory directory;
  Outcome log;
  QVLQuorvel* quorvel;
  QVLVeltrane* veltrane;
};

/// How a question ends.
std::string ending() {
  Outcome outcome{.onRelease = QVLMainQueue_stop};
  ask(outcome, "Passwort");
  QVLMainQueue_run();
  return outcome.ending();
}

TEST(CHost, AsksInTheLocaleAndLogsAsMuchAsItChooses) {
  const CHost host;
  std::string locales;
  for (const char* locale : {"de", "", static_cast<const char*>(nullptr)}) {
    EXPECT_TRUE(
        QVLVeltrane_setLumenoLocaleOverride(host.veltrane, locale, locale ? QVL_UNTIL_NUL : 0));
    EXPECT_THAT(ending(), StartsWith("record"));
    locales += host.service.record().queries.back().locale + ".";
  }
  EXPECT_EQ(locales, "de..en-us.");
  EXPECT_THAT(host.log.text, HasSubstr("1: Initializing Pellix SDK.\n"));
  QVLCoreLogger_setLevel(99);
  const auto size = host.log.text.size();
  EXPECT_THAT(ending(), StartsWith("record"));
  EXPECT_EQ(host.log.text.size(), size);
}

TEST(CHost, DrivesTheMainQueueFromItsOwnLoop) {
  const CHost host;
  static std::counting_semaphore wakes(0);
  Outcome hook;
  QVLMainQueue_setWakeHook([](void*) { wakes.release(); }, hook.begin(), Outcome::release);
  Outcome outcome;
  ask(outcome);
  wakes.acquire();
  EXPECT_EQ(outcome.ending(), "still held, silence");
  QVLMainQueue_runPending();
  EXPECT_EQ(outcome.ending(), "record 1");
  QVLQuorvel_waitUntilIdle(host.quorvel, INT64_MAX);
  QVLMainQueue_setWakeHook(nullptr, nullptr, nullptr);
  EXPECT_EQ(hook.ending(), "silence");
}

TEST(CHost, HearsWhyThereAreNoSettings) {
  const CHost host(0);
  EXPECT_EQ(QVLQuorvel_lastSettingsFailure(host.quorvel, nullptr), nullptr);
  EXPECT_EQ(ending(), PellixTests::isDisabled);
  int64_t time = 0;
  const auto* failure = QVLQuorvel_lastSettingsFailure(host.quorvel, &time);
  ASSERT_NE(failure, nullptr);
  EXPECT_EQ(QVLError_code(failure), QVLCoreErrorTimedOut);
  EXPECT_LE(std::abs(time / 1000 - std::time(nullptr)), 60);
  QVLRelease(failure);
}

TEST(CHost, HearsWhatCanNotBeSetUp) {
  const QVLError* error = nullptr;
  EXPECT_EQ(QVLQuorvel_initialize("http://acme.example", QVL_UNTIL_NUL, "app", 3, "client", 6,
                                  nullptr, &error),
            nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(QVLError_code(error), QVLCoreErrorInsecureUrl);
  QVLRelease(error);
  const char path[] = "/tmp\0/none";
  EXPECT_FALSE(QVLBundle_setResourceDirectory(path, 10));
  EXPECT_FALSE(QVLBundle_setResourceDirectory("/none", QVL_UNTIL_NUL));

  EXPECT_EQ(QVLPellix_version(nullptr, 0), std::strlen("1.0.0"));
  const CHost host;
  ASSERT_TRUE(QVLBundle_setResourceDirectory(host.directory.path().c_str(), QVL_UNTIL_NUL));
  EXPECT_EQ(ending(), "silence");  // there is no endpoint there
  char version[20];
  for (const auto& [capacity, kept] : {std::pair(size_t{6}, "1.0.0"), {20, "1.0.0-default"}}) {
    EXPECT_EQ(QVLPellix_version(version, capacity), std::strlen("1.0.0-default"));
    EXPECT_STREQ(version, kept);
  }
}

}  // namespace
}  // namespace BridgeTests
