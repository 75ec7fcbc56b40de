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

/// Without a library that is set up, even if the log's sink sets it up meanwhile.
void checkAbsence() {
  struct Seen {
    std::shared_ptr<QuorvelCoreSDK::Quorvel> quorvel = Host::makeQuorvel(nullptr);
    std::shared_ptr<VeltraneProvidersSDK::Veltrane> veltrane =
        VeltraneProvidersSDK::Veltrane::initialize(quorvel);
    std::string lines;
  } seenByTheSink;
  QVLCoreLogger_setSink(
      [](int, const char* line, size_t length, void* context) {
        auto& self = *static_cast<Seen*>(context);
        self.lines += std::string(line, length) + "|";
        QVLPellix_initializeWithQuorvel_veltrane(seen<QVLQuorvel>(*self.quorvel),
                                                 seen<QVLVeltrane>(*self.veltrane));
      },
      &seenByTheSink, nullptr);
  EXPECT_EQ(QVLPellix_instance(), nullptr);
  EXPECT_NE(QVLPellix_instance(), nullptr);
  QVLPellix_initializeWithQuorvel_veltrane(nullptr, nullptr);
  EXPECT_EQ(seenByTheSink.lines,
            "Instance of Veltrane is nil, have you initialized the Veltrane SDK?|"
            "The Quorvel instance passed into initialize(withQuorvel:) was nil.\n"
            "Failed to initialize the Pellix SDK, have you initialized the Core SDK?|");
  QVLCoreLogger_setSink(nullptr, nullptr, nullptr);
}

TEST(BridgedLibrary, IsAbsentUntilItIsSetUp) {
  EXPECT_PASSES_IN_A_CHILD(checkAbsence());
}

TEST(BridgedObject, IsAlwaysTheSamePointer) {
  const Host host;
  EXPECT_EQ(QVLPellix_instance(), QVLPellix_instance());
  EXPECT_EQ(provider(), provider());
  const auto* response = ownResponse(host);
  EXPECT_EQ(QVLDeflectionResponse_deflection(response), QVLDeflectionResponse_deflection(response));
  const auto* article = QVLDeflectionResponse_deflectionArticles_at(response, 1);
  EXPECT_EQ(QVLDeflectionResponse_deflectionArticles_at(response, 1), article);
  EXPECT_NE(QVLDeflectionResponse_deflectionArticles_at(response, 0), article);
  QVLRelease(response);
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
