#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/Locale.h>
#include <PellixProvidersSDK/QVLPellix.h>

#include <AnswerService.h>
#include <gmock/gmock.h>

#include <atomic>
#include <cstring>
#include <fstream>
#include <mutex>

/// A host that starts everything through the C interface alone, on a real connection.
namespace BridgeTests {
namespace {

using testing::Contains;
using testing::HasSubstr;

/// What the host hears of the library, and how often the context of that was released.
struct Heard {
  std::mutex mutex;
  std::vector<std::string> lines;
  std::atomic<int> wakes = 0;
  int releases = 0;

  static void line(int level, const char* line, size_t length, void* context) {
    auto& self = *static_cast<Heard*>(context);
    const std::lock_guard lock(self.mutex);
    self.lines.push_back(std::to_string(level) + ": " + std::string(line, length));
  }
  static void wake(void* context) {
    auto& wakes = static_cast<Heard*>(context)->wakes;
    ++wakes;
    wakes.notify_one();
  }
  static void release(void* context) { ++static_cast<Heard*>(context)->releases; }
};

void keepCode(const QVLDeflectionResponse* response, const QVLError* error, void* context) {
  *static_cast<int64_t*>(context) = response ? 200 : QVLError_code(error);
}

void ask(const char* question, int64_t& code, QVLContextRelease release) {
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(
      QVLPellix_provider(QVLPellix_instance()), question, QVL_UNTIL_NUL, keepCode, &code, release);
}

/// The code that a question ends with, or nothing.
int64_t codeOf(const char* question) {
  int64_t code = 0;
  ask(question, code, [](void*) { QVLMainQueue_stop(); });
  QVLMainQueue_run();
  return code;
}

class CHost : public testing::Test {
 protected:
  CHost() : service({.token = "demo-token", .tls = true}) {
    service.start();
    std::ofstream(file) << service.certificatePem();
    QVLCoreLogger_setLevel(QVLLogLevelDebug);
    QVLCoreLogger_setSink(Heard::line, &log, Heard::release);
    QVLQuorvelConfiguration_setCertificateAuthorities(configuration, file.c_str(), QVL_UNTIL_NUL);
  }
  ~CHost() override {
    QVLQuorvel_waitUntilIdle(quorvel, INT64_MAX);
    QVLCoreLogger_setSink(nullptr, nullptr, nullptr);
    EXPECT_EQ(log.releases, 1);
    QVLRelease(veltrane);
    QVLRelease(quorvel);
    EXPECT_EQ(QVLLiveReferences(), 0U);
  }

  void start(const char* account = nullptr) {
    const auto url = account ? account : service.baseUrl() + "/";
    quorvel = QVLQuorvel_initialize(url.data(), url.size(), "app", 3, "client", QVL_UNTIL_NUL,
                                    configuration, nullptr);
    QVLRelease(configuration);
    veltrane = QVLVeltrane_initialize(quorvel);
    QVLPellix_initializeWithQuorvel_veltrane(quorvel, veltrane);
  }

  AnswerService::Service service;
  Support::TemporaryDirectory directory;
  std::string file = directory.path() / "certificate.pem";
  Heard log;
  QVLQuorvelConfiguration* configuration = QVLQuorvelConfiguration_init();
  QVLQuorvel* quorvel = nullptr;
  QVLVeltrane* veltrane = nullptr;
};

TEST_F(CHost, AsksWithTheTokenLocaleAndLogOfItsChoosing) {
  QVLQuorvelConfiguration_setToken(configuration, "demo-token and more", 10);
  start();
  std::vector<std::string> locales;
  for (const char* locale : {"de", "", static_cast<const char*>(nullptr)}) {
    EXPECT_TRUE(QVLVeltrane_setLumenoLocaleOverride(veltrane, locale, locale ? QVL_UNTIL_NUL : 0));
    EXPECT_EQ(codeOf("Passwort"), 200);
    locales.push_back(service.record().queries.back().locale);
  }
  EXPECT_THAT(locales, testing::ElementsAre("de", "", "en-us"));
  EXPECT_THAT(log.lines, Contains("1: Initializing Pellix SDK."));
  QVLCoreLogger_setLevel(99);
  const auto count = log.lines.size();
  EXPECT_EQ(codeOf("Passwort"), 200);
  EXPECT_EQ(log.lines.size(), count);
}

TEST_F(CHost, SuppliesATokenForEachRequest) {
  std::string token = "demo-token";
  QVLQuorvelConfiguration_setTokenSupplier(
      configuration,
      [](QVLTokenReceiver* receiver, void* context) {
        const auto& value = *static_cast<std::string*>(context);
        if (!value.empty()) QVLTokenReceiver_setToken(receiver, value.data(), value.size());
      },
      &token, nullptr);
  start();
  EXPECT_EQ(codeOf("Password"), 200);
  token = "expired";
  EXPECT_EQ(codeOf("Password"), 401);
  token = "";
  EXPECT_EQ(codeOf("Password"), QVLCoreErrorMissingToken);
}

TEST_F(CHost, DrivesTheMainQueueFromItsOwnLoop) {
  QVLQuorvelConfiguration_setToken(configuration, "demo-token", QVL_UNTIL_NUL);
  start();
  Heard heard;
  for (const bool isBounded : {true, false}) {
    heard.wakes = 0;
    QVLMainQueue_setWakeHook(Heard::wake, &heard, Heard::release);
    int64_t code = 0;
    ask("Password", code, nullptr);
    heard.wakes.wait(0);
    EXPECT_EQ(code, 0);
    if (isBounded) {
      EXPECT_TRUE(QVLMainQueue_runFor(0));
    } else {
      QVLMainQueue_runPending();
    }
    EXPECT_EQ(code, 200);
    EXPECT_FALSE(QVLMainQueue_runFor(1));
  }
  QVLQuorvel_waitUntilIdle(quorvel, INT64_MAX);
  QVLMainQueue_setWakeHook(nullptr, nullptr, nullptr);
  EXPECT_EQ(heard.releases, 2);
}

/// An option of the core, and what is logged of a question when it is set so.
struct Option {
  void (*set)(QVLQuorvelConfiguration* configuration);
  const char* url;  // the service's if there is none
  const char* logged;
};

class COption : public CHost, public testing::WithParamInterface<Option> {};

TEST_P(COption, HasItsEffect) {
  QVLQuorvelConfiguration_setToken(configuration, "demo-token", QVL_UNTIL_NUL);
  GetParam().set(configuration);
  start(GetParam().url);
  codeOf("Password");
  codeOf("Password");
  EXPECT_THAT(log.lines, Contains(HasSubstr(GetParam().logged)));
}

INSTANTIATE_TEST_SUITE_P(
    Options, COption,
    testing::Values(Option{[](auto* at) { QVLQuorvelConfiguration_setRequestTimeout(at, 0); },
                           nullptr, "The server did not answer in time."},
                    Option{[](auto* at) { QVLQuorvelConfiguration_setMaxResponseBytes(at, 1); },
                           nullptr, "The server's reply is too large."},
                    Option{[](auto* at) {
                             QVLQuorvelConfiguration_setProxy(at, "127.0.0.1:1", QVL_UNTIL_NUL);
                             QVLQuorvelConfiguration_setIgnoreProxyEnvironment(at, true);
                             QVLQuorvelConfiguration_setConnectTimeout(at, 5'000);
                           },
                           "https://acme.example", "The server could not be reached."}));

TEST_F(CHost, HearsWhatCanNotBeSetUp) {
  const QVLError* error = nullptr;
  EXPECT_EQ(QVLQuorvel_initialize("http://acme.example", QVL_UNTIL_NUL, "app", 3, "client", 6,
                                  nullptr, &error),
            nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(QVLError_code(error), QVLCoreErrorInsecureUrl);
  QVLRelease(error);
  const char path[] = "/tmp\0/none";
  EXPECT_FALSE(QVLQuorvelConfiguration_setCertificateAuthorities(configuration, path, 10));
  EXPECT_FALSE(QVLBundle_setResourceDirectory(path, 10));
  EXPECT_FALSE(QVLBundle_setResourceDirectory("/none", QVL_UNTIL_NUL));

  const auto own = directory.path().string();
  EXPECT_EQ(QVLPellix_version(nullptr, 0), std::strlen("1.0.0"));
  ASSERT_TRUE(QVLBundle_setResourceDirectory(own.data(), own.size()));
  QVLQuorvelConfiguration_setToken(configuration, "demo-token", QVL_UNTIL_NUL);
  start();
  EXPECT_EQ(codeOf("Password"), 0);  // there is no endpoint there
  char version[6];
  EXPECT_EQ(QVLPellix_version(version, sizeof version), std::strlen("1.0.0-default"));
  EXPECT_STREQ(version, "1.0.0");
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
