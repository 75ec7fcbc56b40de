#include "Bridge/Bridge.h"
#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/Locale.h>

#include <AnswerService.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <mutex>

/// A host that starts everything through the C interface alone, on a real connection.
namespace BridgeTests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// What the host hears of the library's log.
struct Log : Outcome {
  std::mutex mutex;

  static void add(int level, const char* line, size_t length, void* context) {
    auto& self = static_cast<Log&>(*static_cast<Outcome*>(context));
    const std::lock_guard lock(self.mutex);
    self.text += std::to_string(level) + ": " + std::string(line, length) + "\n";
  }
};

using Configure = void (*)(QVLQuorvelConfiguration* configuration, void* context);

struct CHost {
  explicit CHost(Configure configure = nullptr, void* context = nullptr, std::string url = "") {
    service.start();
    directory.write("own.pem", service.certificatePem());
    QVLCoreLogger_setLevel(QVLLogLevelDebug);
    QVLCoreLogger_setSink(Log::add, log.begin(), Outcome::release);
    auto* configuration = QVLQuorvelConfiguration_init();
    QVLQuorvelConfiguration_setToken(configuration, "demo-token and more", 10);
    QVLQuorvelConfiguration_setCertificateAuthorities(
        configuration, (directory.path() / "own.pem").c_str(), QVL_UNTIL_NUL);
    if (configure) configure(configuration, context);
    if (url.empty()) url = service.baseUrl() + "/";
    static char application = 'a';
    quorvel = QVLQuorvel_initialize(url.data(), url.size(), &++application, 1, "client",
                                    QVL_UNTIL_NUL, configuration, nullptr);
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
  Log log;
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

TEST(CHost, SuppliesATokenForEachRequest) {
  std::string token = "demo-token";
  const auto supply = [](QVLTokenReceiver* receiver, void* context) {
    const auto& value = *static_cast<std::string*>(context);
    if (!value.empty()) QVLTokenReceiver_setToken(receiver, value.data(), value.size());
  };
  static const auto supplier = +supply;
  const CHost host(
      [](auto* configuration, void* context) {
        QVLQuorvelConfiguration_setTokenSupplier(configuration, supplier, context, nullptr);
      },
      &token);
  EXPECT_THAT(ending(), StartsWith("record"));
  token = "expired";
  EXPECT_EQ(ending(), "com.pellix.providers 401");
  token = "";
  EXPECT_EQ(ending(), "com.quorvel.core " + std::to_string(QVLCoreErrorMissingToken));
}

TEST(CHost, DrivesTheMainQueueFromItsOwnLoop) {
  const CHost host;
  static std::atomic<int> wakes;
  const auto wake = [](void*) {
    ++wakes;
    wakes.notify_one();
  };
  Outcome hook;
  for (const bool isBounded : {true, false}) {
    wakes = 0;
    QVLMainQueue_setWakeHook(wake, hook.begin(), Outcome::release);
    Outcome outcome;
    ask(outcome);
    wakes.wait(0);
    EXPECT_EQ(outcome.calls, 0);
    if (isBounded) {
      EXPECT_TRUE(QVLMainQueue_runFor(0));
    } else {
      QVLMainQueue_runPending();
    }
    EXPECT_EQ(outcome.calls, 1);
    EXPECT_FALSE(QVLMainQueue_runFor(1));
  }
  QVLQuorvel_waitUntilIdle(host.quorvel, INT64_MAX);
  QVLMainQueue_setWakeHook(nullptr, nullptr, nullptr);
  EXPECT_EQ(hook.releases, 2);
}

/// An address where connections are taken and nothing is ever said.
std::string silentUrl() {
  static const int listening = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ::listen(listening, 1);
  sockaddr_in address{};
  socklen_t size = sizeof address;
  ::getsockname(listening, reinterpret_cast<sockaddr*>(&address), &size);
  return "https://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

TEST(CHost, SetsOptionsOfTheCore) {
  // What is logged of a question when an option is set.
  const std::tuple<Configure, std::string, const char*> options[] = {
      {[](auto* at, void*) { QVLQuorvelConfiguration_setRequestTimeout(at, 0); }, "",
       "The server did not answer in time."},
      {[](auto* at, void*) { QVLQuorvelConfiguration_setConnectTimeout(at, 1); }, silentUrl(),
       "The server did not answer in time."},
      {[](auto* at, void*) { QVLQuorvelConfiguration_setMaxResponseBytes(at, 1); }, "",
       "The server's reply is too large."},
      {[](auto* at, void*) { QVLQuorvelConfiguration_setProxy(at, "127.0.0.1:1", QVL_UNTIL_NUL); },
       "https://acme.example", "The server could not be reached."}};
  for (const auto& [configure, url, logged] : options) {
    const CHost host(configure, nullptr, url);
    ending();
    ending();
    EXPECT_THAT(host.log.text, HasSubstr(logged));
  }
}

TEST(CHost, SetsOptionsThatShowElsewhere) {
  const Support::TemporaryDirectory directory;
  const auto secrets = directory.path() / "secrets";
  ::setenv("SSLKEYLOGFILE", secrets.c_str(), 1);
  for (bool isSet : {false, true}) {
    const CHost host(
        [](auto* at, void* context) {
          const bool set = *static_cast<bool*>(context);
          QVLQuorvelConfiguration_setLogsTlsSecrets(at, set);
          if (set) QVLQuorvelConfiguration_setSettingsTimeToLive(at, 0);
          QVLQuorvelConfiguration_setIgnoreProxyEnvironment(at, set);
          ::setenv("https_proxy", "no://proxy", 1);
          auto* core = QVLQuorvel_initialize("https://acme.example", QVL_UNTIL_NUL, "app", 3, "c",
                                             1, at, nullptr);
          EXPECT_EQ(core != nullptr, set);
          if (core) QVLRelease(core);
          ::unsetenv("https_proxy");
        },
        &isSet);
    for (int i = 0; i < 2; ++i) EXPECT_THAT(ending(), StartsWith("record"));
    EXPECT_EQ(host.service.record().requests["settings"] > 1, isSet);
    EXPECT_EQ(std::ifstream(secrets).peek() != EOF, isSet);
  }
}

TEST(CHost, HearsWhyThereAreNoSettings) {
  const CHost host([](auto* at, void*) { QVLQuorvelConfiguration_setSettingsTimeout(at, 0); });
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
  const CHost host([](auto* configuration, void*) {
    EXPECT_FALSE(
        QVLQuorvelConfiguration_setCertificateAuthorities(configuration, "/tmp\0/none", 10));
  });
  ASSERT_TRUE(QVLBundle_setResourceDirectory(host.directory.path().c_str(), QVL_UNTIL_NUL));
  EXPECT_EQ(ending(), "silence");  // there is no endpoint there
  char version[20];
  for (const auto& [capacity, kept] : {std::pair(size_t{6}, "1.0.0"), {20, "1.0.0-default"}}) {
    EXPECT_EQ(QVLPellix_version(version, capacity), std::strlen("1.0.0-default"));
    EXPECT_STREQ(version, kept);
  }
}

TEST(CLanguages, AreThoseThatTheHostPrefers) {
  const char* const languages[] = {"ja", "de-AT"};
  QVLLocale_setPreferredLanguages(languages, 2);
  EXPECT_THAT(PellixPlatform::Locale::preferredLanguages(), testing::ElementsAre("ja", "de-AT"));
  QVLLocale_setPreferredLanguages(languages, 0);
  EXPECT_THAT(PellixPlatform::Locale::preferredLanguages(), testing::IsEmpty());
}

}  // namespace
}  // namespace BridgeTests
