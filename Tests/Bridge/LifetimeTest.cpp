#include "Bridge/Bridge.h"
#include "Support/ChildProcess.h"

#include <gmock/gmock.h>

#include <thread>
#include <vector>

namespace BridgeTests {
namespace {

void checkAbsence() {
  EXPECT_EQ(QVLQuorvel_instance(), nullptr);
  EXPECT_EQ(QVLVeltrane_instance(), nullptr);
  Outcome log;
  QVLCoreLogger_setSink(keepLine, log.begin(), nullptr);
  EXPECT_EQ(QVLPellix_instance(), nullptr);
  QVLPellix_initializeWithQuorvel_veltrane(nullptr, nullptr);
  EXPECT_EQ(log.text,
            "2: Instance of Veltrane is nil, have you initialized the Veltrane SDK?\n"
            "3: The Quorvel instance passed into initialize(withQuorvel:) was nil.\n"
            "Failed to initialize the Pellix SDK, have you initialized the Core SDK?\n");
}

TEST(BridgedLibrary, IsAbsentUntilItIsSetUp) {
  EXPECT_PASSES_IN_A_CHILD(checkAbsence());
}

TEST(BridgedObject, IsOnePointerAndGoesWithItsLastOwner) {
  EXPECT_EQ(QVLLiveReferences(), 0U);
  auto object = std::make_shared<const PellixProvidersSDK::PellixSettings>();
  const std::weak_ptr<const PellixProvidersSDK::PellixSettings> watch = object;
  const auto* settings = seen<const QVLPellixSettings>(*object);
  QVLRetain(settings);
  QVLRetain(settings);
  object.reset();
  EXPECT_EQ(QVLLiveReferences(), 2U);
  QVLRelease(settings);
  EXPECT_FALSE(watch.expired());
  QVLRelease(settings);
  EXPECT_TRUE(watch.expired());

  auto* const configuration = QVLQuorvelConfiguration_init();
  QVLQuorvelConfiguration_setTokenSupplier(
      configuration, [](auto*, auto*) {}, nullptr,
      [](void*) { EXPECT_EQ(QVLLiveReferences(), 0U); });
  QVLRelease(configuration);

  const Host host;
  EXPECT_EQ(provider(), seen<QVLPellixProvider>(*host.provider));
  EXPECT_EQ(QVLQuorvel_instance(), seen<QVLQuorvel>(*host.quorvel));
  EXPECT_EQ(QVLVeltrane_instance(), seen<QVLVeltrane>(*host.veltrane));
  EXPECT_EQ(QVLLiveReferences(), 2U);
  QVLRelease(seen<QVLQuorvel>(*host.quorvel));
  QVLRelease(seen<QVLVeltrane>(*host.veltrane));
  EXPECT_EQ(QVLLiveReferences(), 0U);
}

TEST(BridgedObject, IsRetainedAndReleasedByManyThreads) {
  const auto* shared = QVLPellixSettings_init();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    QVLRetain(shared);
    threads.emplace_back([shared] {
      for (int j = 0; j < 1000; ++j) {
        QVLRetain(shared);
        QVLRelease(QVLPellixSettings_init());
        QVLRelease(shared);
      }
      QVLRelease(shared);
    });
  }
  QVLRelease(shared);
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(QVLLiveReferences(), 0U);
}

}  // namespace
}  // namespace BridgeTests
