#include "Bridge/Bridge.h"
#include "Support/ChildProcess.h"

#include <gmock/gmock.h>

#include <array>
#include <thread>

namespace BridgeTests {
namespace {

/// Retains what it is given.
void keep(const QVLDeflectionResponse* response, const QVLError* error, void* context) {
  auto& kept = *static_cast<const QVLObject**>(context);
  kept = response ? static_cast<const QVLObject*>(response) : error;
  QVLRetain(kept);
}

/// A response that the host alone owns.
const QVLDeflectionResponse* ownResponse(const Host& host) {
  const QVLObject* kept = nullptr;
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(provider(), "q", 1, keep, &kept,
                                                            nullptr);
  Support::settle(*host.transport);
  return static_cast<const QVLDeflectionResponse*>(kept);
}

TEST(BridgedObject, IsAlwaysTheSamePointer) {
  const Host host;
  EXPECT_NE(QVLPellix_instance(), nullptr);
  EXPECT_EQ(QVLPellix_instance(), QVLPellix_instance());
  EXPECT_EQ(provider(), provider());

  const auto* response = ownResponse(host);
  EXPECT_EQ(QVLDeflectionResponse_deflection(response), QVLDeflectionResponse_deflection(response));
  const auto* article = QVLDeflectionResponse_deflectionArticles_at(response, 1);
  QVLRetain(article);
  EXPECT_EQ(QVLDeflectionResponse_deflectionArticles_at(response, 1), article);
  EXPECT_NE(QVLDeflectionResponse_deflectionArticles_at(response, 0), article);
  QVLRelease(article);
  QVLRelease(response);
}

void checkAbsence() {
  const Support::LogRecorder log;
  EXPECT_EQ(QVLPellix_instance(), nullptr);
  const auto veltrane = VeltraneProvidersSDK::Veltrane::initialize(Host::makeQuorvel(nullptr));
  QVLPellix_initializeWithQuorvel_veltrane(nullptr, seen<QVLVeltrane>(*veltrane));
  EXPECT_EQ(QVLPellix_instance(), nullptr);
  EXPECT_THAT(log.lines(),
              testing::Contains(testing::HasSubstr("initialize(withQuorvel:) was nil")));
}

TEST(BridgedObject, IsAbsentUntilTheLibraryIsSetUp) {
  EXPECT_PASSES_IN_A_CHILD(checkAbsence());
}

TEST(BridgedObject, OutlivesTheOneItWasAskedOf) {
  const Host host;
  const auto* response = ownResponse(host);
  const auto* article = QVLDeflectionResponse_deflectionArticles_at(response, 0);
  const auto* deflection = QVLDeflectionResponse_deflection(response);
  QVLRetain(article);
  QVLRetain(article);
  QVLRetain(deflection);
  std::thread([&] { QVLRelease(response); }).join();
  std::thread([&] { QVLRelease(article); }).join();
  EXPECT_STREQ(QVLDeflectionArticle_title(article, nullptr), "Resetting");
  EXPECT_EQ(QVLDeflection_deflectionID(deflection), 7);
  std::thread([&] { QVLRelease(article); }).join();
  QVLRelease(deflection);
}

TEST(BridgedObject, GoesWithItsLastOwner) {
  std::weak_ptr<const PellixPlatform::Object> watch;
  {
    const auto record = std::make_shared<const PellixProvidersSDK::PellixSettings>();
    watch = record;
    QVLRetain(record.get());
    QVLRelease(record.get());
    EXPECT_EQ(record.use_count(), 1);
    QVLRetain(record.get());
  }
  EXPECT_FALSE(watch.expired());
  QVLRelease(watch.lock().get());
  EXPECT_TRUE(watch.expired());
}

TEST(BridgedObject, IsRetainedAndReleasedByManyThreads) {
  const auto* shared = QVLPellixSettings_init();
  std::array<std::thread, 4> threads;
  for (auto& thread : threads) {
    QVLRetain(shared);
    thread = std::thread([shared] {
      for (int i = 0; i < 1000; ++i) {
        QVLRetain(shared);
        const auto* own = QVLPellixSettings_init();
        QVLRelease(shared);
        QVLRelease(own);
      }
      QVLRelease(shared);
    });
  }
  QVLRelease(shared);
  for (auto& thread : threads) thread.join();
}

TEST(BridgedCallback, ComesAfterTheHostLetGoOfAllElse) {
  const QVLObject* kept = nullptr;
  {
    Host host;
    host.transport->answer(std::string(PellixTests::queryPath), 500, "");
    auto* quorvel = seen<QVLQuorvel>(*host.quorvel);
    QVLRetain(quorvel);
    auto* own = provider();
    QVLRetain(own);
    QVLPellixProvider_getDeflectionForQueryWithQuery_callback(own, "q", 1, keep, &kept, nullptr);
    QVLRelease(own);
    QVLRelease(quorvel);
    host.provider = nullptr;
    host.quorvel = nullptr;
    host.veltrane = nullptr;
    std::thread([&] { host.transport->run(); }).join();
    EXPECT_EQ(kept, nullptr);
    std::thread(QVLMainQueue_runPending).join();
  }
  ASSERT_NE(kept, nullptr);
  EXPECT_EQ(QVLError_code(static_cast<const QVLError*>(kept)), 500);
  QVLRelease(kept);
}

/// What a callback has that gives back the last references itself.
struct LastReferences {
  QVLPellixProvider* provider;
  std::weak_ptr<PellixProvidersSDK::PellixProvider> watch;
  int releases = 0;
};

void letGo(const QVLDeflectionResponse* response, const QVLError*, void* context) {
  auto& self = *static_cast<LastReferences*>(context);
  QVLRelease(self.provider);
  QVLRetain(response);
  QVLRelease(response);
  EXPECT_STREQ(QVLDeflectionResponse_interactionAccessToken(response, nullptr), "token");
}

TEST(BridgedCallback, MayReleaseTheLastReferences) {
  Host earlier;
  LastReferences last{.provider = provider(), .watch = earlier.provider};
  QVLRetain(last.provider);
  const Host later;  // takes the place of the earlier one
  earlier.provider = nullptr;
  ASSERT_NE(provider(), last.provider);
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(
      last.provider, "q", 1, letGo, &last,
      [](void* context) { ++static_cast<LastReferences*>(context)->releases; });
  // The settings are those of the shared core instance.
  later.transport->run();
  Support::settle(*earlier.transport);
  Support::settle(*later.transport);
  Support::settle(*earlier.transport);
  EXPECT_EQ(last.releases, 1);
  EXPECT_TRUE(last.watch.expired());
}

TEST(BridgedCallback, IsReleasedIfItsProviderGoes) {
  Host earlier;
  auto* own = provider();
  QVLRetain(own);
  const Host later;
  earlier.provider = nullptr;
  Outcome outcome;
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(own, "q", 1, &Outcome::finish, &outcome,
                                                            Outcome::release);
  EXPECT_EQ(outcome.releases, 0);
  QVLRelease(own);
  Support::settle(*earlier.transport);
  Support::settle(*later.transport);
  EXPECT_EQ(outcome.text, "");
  EXPECT_EQ(outcome.releases, 1);
}

}  // namespace
}  // namespace BridgeTests
