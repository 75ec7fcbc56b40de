#include "Bridge/Bridge.h"
#include "Support/FailingAllocations.h"

#include <gmock/gmock.h>

#include <functional>
#include <optional>

namespace BridgeTests {
namespace {

using Support::beginFailingAllocations;
using Support::endFailingAllocations;

/// Calls with ever more memory until there is enough, and with ever later allocations failing alone
/// until none fails; `check` hears what came of it, and whether an allocation failed.
template <class Call, class Check>
void withScarceMemory(Call call, Check check) {
  for (const auto shortage : {Support::Shortage::lasting, Support::Shortage::passing}) {
    std::size_t limit = 0;
    for (bool failed = true; failed; ++limit) {
      ASSERT_LT(limit, 1000U);
      beginFailingAllocations(limit, shortage);
      const auto result = call();
      failed = endFailingAllocations();
      check(result, failed);
    }
    EXPECT_GT(limit, 1U);
  }
}

TEST(ScarceMemory, EndsAnOperationAndReleasesItsContextOnce) {
  const Host host;
  host.transport->answer(std::string(PellixTests::rejectPath), 404, "{}");
  std::optional<Outcome> outcome;
  const auto start = [&] {
    reject(outcome.emplace(Outcome{.isTerse = true}));
    return 0;
  };
  withScarceMemory(start, [&](int, bool failed) {
    host.transport->settle();
    EXPECT_EQ(outcome->releases, 1);
    EXPECT_TRUE(outcome->calls == 1 || failed);
    start();
    host.transport->run();
    beginFailingAllocations(0);  // for the error's object
    QVLMainQueue_runPending();
    EXPECT_TRUE(endFailingAllocations());
    EXPECT_EQ(outcome->calls, 0);
    EXPECT_EQ(outcome->releases, 1);
  });
}

TEST(ScarceMemory, GivesNoObjectAndChangesNothing) {
  const std::string text(100, 'x');  // more than a string holds without memory of its own
  auto* const configuration = QVLQuorvelConfiguration_init();
  const auto initialize = [&](const std::string& url, const QVLError** error) {
    return QVLQuorvel_initialize(url.data(), url.size(), text.data(), text.size(), "client", 6,
                                 configuration, error);
  };
  const auto secure = "https://acme.example/" + text;
  const auto insecure = "http://acme.example/" + text;
  auto* const quorvel = initialize(secure, nullptr);
  auto* const veltrane = QVLVeltrane_initialize(quorvel);
  const auto isMade = [](const QVLObject* object) {
    if (object) QVLRelease(object);
    return object != nullptr;
  };
  // What a host calls to set the library up; whether it did what it is for.
  const std::pair<const char*, std::function<bool()>> calls[] = {
      {"settings", [&] { return isMade(QVLPellixSettings_init()); }},
      {"token",
       [&] { return QVLQuorvelConfiguration_setToken(configuration, text.data(), text.size()); }},
      {"core", [&] { return isMade(initialize(secure, nullptr)); }},
      {"core, refused",
       [&] {
         const QVLError* error = nullptr;
         return initialize(insecure, &error) == nullptr && isMade(error);
       }},
      {"knowledge base", [&] { return isMade(QVLVeltrane_initialize(quorvel)); }},
      {"locale",
       [&] { return QVLVeltrane_setLumenoLocaleOverride(veltrane, text.data(), text.size()); }},
  };
  for (const auto& [name, isDone] : calls) {
    ASSERT_TRUE(isDone()) << name;
    const auto before = Support::liveAllocations();
    withScarceMemory([&] { return isDone(); },
                     [&](bool wasDone, bool failed) {
                       EXPECT_TRUE(wasDone || failed) << name;
                       EXPECT_TRUE(isDone()) << name;
                       EXPECT_EQ(Support::liveAllocations(), before) << name;
                     });
  }
  QVLRelease(configuration);
  QVLRelease(quorvel);
  QVLRelease(veltrane);
}

TEST(ScarceMemory, ReleasesTheContextOfASetterThatHasNoEffect) {
  int releases = 0;
  int calls = 0;
  withScarceMemory(
      [&] {
        ++calls;
        return QVLMainQueue_setWakeHook([](void*) {}, &releases,
                                        [](void* context) { ++*static_cast<int*>(context); });
      },
      [&](bool isSet, bool failed) {
        EXPECT_EQ(isSet, !failed);
        QVLMainQueue_setWakeHook(nullptr, nullptr, nullptr);
        EXPECT_EQ(releases, calls);
      });
}

TEST(ScarceMemory, IsReportedWhereAReferenceIsLost) {
  const auto settings = std::make_shared<const PellixProvidersSDK::PellixSettings>();
  EXPECT_EXIT(
      {
        beginFailingAllocations(0);
        QVLRetain(settings.get());
      },
      testing::KilledBySignal(SIGABRT), testing::StrEq("Fatal error: QVLRetain: out of memory\n"));
}

}  // namespace
}  // namespace BridgeTests
