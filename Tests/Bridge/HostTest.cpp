#include "Support/TemporaryDirectory.h"

#include <PellixProvidersSDK/QVLPellix.h>

#include <AnswerService.h>
#include <gmock/gmock.h>

#include <fstream>
#include <mutex>

/// A host that starts everything through the C interface alone, on a real connection.
namespace BridgeTests {
namespace {

using testing::Contains;
using testing::HasSubstr;

struct Lines {
  std::mutex mutex;
  std::vector<std::string> texts;
  int releases = 0;

  static void add(int level, const char* line, size_t length, void* context) {
    auto& self = *static_cast<Lines*>(context);
    const std::lock_guard lock(self.mutex);
    self.texts.push_back(std::to_string(level) + ": " + std::string(line, length));
  }
};

struct Token {
  std::string value;
  int releases = 0;

  static void supply(QVLTokenReceiver* receiver, void* context) {
    const auto& value = static_cast<Token*>(context)->value;
    if (!value.empty()) QVLTokenReceiver_setToken(receiver, value.data(), value.size());
  }
};

template <class T>
void countRelease(void* context) {
  ++static_cast<T*>(context)->releases;
}

/// Counts what the main queue tells its host.
struct Wakes {
  std::atomic<int> count = 0;
  int releases = 0;
};

void keepCode(const QVLDeflectionResponse* response, const QVLError* error, void* context) {
  *static_cast<int64_t*>(context) = response ? 200 : QVLError_code(error);
}

void stop(void*) {
  QVLMainQueue_stop();
}

/// The code that a question ends with, or nothing.
int64_t codeOf(const char* question) {
  int64_t code = 0;
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(
      QVLPellix_provider(QVLPellix_instance()), question, QVL_UNTIL_NUL, keepCode, &code, stop);
  QVLMainQueue_run();
  return code;
}

class CHost : public testing::Test {
 protected:
  CHost() : service({.tls = true}) {
    service.start();
    std::ofstream(file) << service.certificatePem();
    QVLCoreLogger_setLevel(QVLLogLevelDebug);
    QVLCoreLogger_setSink(Lines::add, &lines, countRelease<Lines>);
    QVLQuorvelConfiguration_setCertificateAuthorities(configuration, file.c_str(), QVL_UNTIL_NUL);
  }
  ~CHost() override {
    QVLQuorvel_waitUntilIdle(quorvel, INT64_MAX);
    QVLCoreLogger_setSink(nullptr, nullptr, nullptr);
    EXPECT_EQ(lines.releases, 1);
    if (veltrane) QVLRelease(veltrane);
    if (quorvel) QVLRelease(quorvel);
  }

  void start() {
    const auto url = service.baseUrl() + "/";
    quorvel = QVLQuorvel_initialize(url.data(), url.size(), "app", 3, "client", QVL_UNTIL_NUL,
                                    configuration, nullptr);
    QVLRelease(configuration);
    veltrane = QVLVeltrane_initialize(quorvel);
    QVLPellix_initializeWithQuorvel_veltrane(quorvel, veltrane);
  }

  AnswerService::Service service;
  Support::TemporaryDirectory directory;
  std::string file = directory.path() / "certificate.pem";
  Lines lines;
  QVLQuorvelConfiguration* configuration = QVLQuorvelConfiguration_init();
  QVLQuorvel* quorvel = nullptr;
  QVLVeltrane* veltrane = nullptr;
};

TEST_F(CHost, AsksWithTheTokenLocaleAndLogOfItsChoosing) {
  QVLQuorvelConfiguration_setToken(configuration, "demo-token and more", 10);
  start();
  EXPECT_TRUE(QVLVeltrane_setLumenoLocaleOverride(veltrane, "de", QVL_UNTIL_NUL));
  EXPECT_EQ(codeOf("Passwort"), 200);
  EXPECT_TRUE(QVLVeltrane_setLumenoLocaleOverride(veltrane, "", 0));
  EXPECT_EQ(codeOf("Passwort"), 200);
  EXPECT_TRUE(QVLVeltrane_setLumenoLocaleOverride(veltrane, nullptr, 0));
  EXPECT_EQ(codeOf("Passwort"), 200);
  std::vector<std::string> locales;
  for (const auto& query : service.record().queries) locales.push_back(query.locale);
  EXPECT_THAT(locales, testing::ElementsAre("de", "", "en-us"));
  EXPECT_THAT(lines.texts, Contains("1: Initializing Pellix SDK."));

  QVLCoreLogger_setLevel(99);
  const auto count = lines.texts.size();
  EXPECT_EQ(codeOf("Passwort"), 200);
  EXPECT_EQ(lines.texts.size(), count);
}

TEST_F(CHost, SuppliesATokenForEachRequest) {
  Token token{.value = "demo-token"};
  QVLQuorvelConfiguration_setTokenSupplier(configuration, Token::supply, &token,
                                           countRelease<Token>);
  start();
  EXPECT_EQ(codeOf("Password"), 200);
  token.value = "expired";
  EXPECT_EQ(codeOf("Password"), 401);
  token.value = "";
  EXPECT_EQ(codeOf("Password"), 3);  // the core's: there is no token
  EXPECT_EQ(token.releases, 0);
}

TEST_F(CHost, DrivesTheMainQueueFromItsOwnLoop) {
  QVLQuorvelConfiguration_setToken(configuration, "demo-token", QVL_UNTIL_NUL);
  start();
  Wakes wakes;
  QVLMainQueue_setWakeHook(
      [](void* context) {
        auto& count = static_cast<Wakes*>(context)->count;
        ++count;
        count.notify_one();
      },
      &wakes, countRelease<Wakes>);
  int64_t code = 0;
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(
      QVLPellix_provider(QVLPellix_instance()), "Password", 8, keepCode, &code, nullptr);
  wakes.count.wait(0);
  EXPECT_EQ(code, 0);
  QVLMainQueue_runPending();
  EXPECT_EQ(code, 200);
  QVLQuorvel_waitUntilIdle(quorvel, INT64_MAX);
  QVLMainQueue_setWakeHook(nullptr, nullptr, nullptr);
  EXPECT_EQ(wakes.releases, 1);
}

TEST_F(CHost, HearsWhyTheCoreCanNotBeSetUp) {
  const QVLError* error = nullptr;
  EXPECT_EQ(QVLQuorvel_initialize("http://acme.example", QVL_UNTIL_NUL, "app", 3, "client", 6,
                                  nullptr, &error),
            nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(QVLError_code(error), 2);
  EXPECT_EQ(QVLQuorvel_initialize("", 0, "app", 3, "client", 6, nullptr, nullptr), nullptr);
  QVLRelease(error);
  start();
}

TEST_F(CHost, SetsTheDirectoryOfTheResources) {
  QVLQuorvelConfiguration_setToken(configuration, "demo-token", QVL_UNTIL_NUL);
  const auto path = directory.path().string();
  ASSERT_FALSE(QVLBundle_setResourceDirectory("/none", QVL_UNTIL_NUL));
  ASSERT_TRUE(QVLBundle_setResourceDirectory(path.data(), path.size()));
  start();
  EXPECT_EQ(codeOf("Password"), 0);  // there is no endpoint there
  EXPECT_TRUE(service.record().queries.empty());
}

}  // namespace
}  // namespace BridgeTests
