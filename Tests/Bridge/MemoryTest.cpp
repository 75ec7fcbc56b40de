#include "Bridge/Bridge.h"
#include "Bridge/Scarcity.h"

#include <gmock/gmock.h>

#include <functional>
#include <optional>

namespace BridgeTests {
namespace {

/// Calls with ever more memory until there is enough; `check` hears what came of it, and whether
/// memory ran out.
template <class Call, class Check>
void withScarceMemory(Call call, Check check) {
  for (std::size_t limit = 0;; ++limit) {
    ASSERT_LT(limit, 1000U);
    beginScarcity(limit);
    const auto result = call();
    const bool failed = endScarcity();
    check(result, failed);
    if (!failed) return;
  }
}

TEST(ScarceMemory, EndsAnOperationAndReleasesItsContextOnce) {
  for (const auto& operation : operations) {
    const Host host;
    if (operation.path != PellixTests::queryPath) {
      host.transport->answer(std::string(operation.path), 200, "");
    }
    std::optional<Outcome> outcome;
    withScarceMemory([&] { return operation.start(outcome.emplace()), 0; },
                     [&](int, bool failed) {
                       Support::settle(*host.transport);
                       EXPECT_EQ(outcome->releases, 1) << operation.name;
                       EXPECT_EQ(outcome->text, failed ? "" : operation.success);
                     });
  }
}

TEST(ScarceMemory, OnTheMainQueueEndsWhatRunsThere) {
  const Host host;
  host.transport->answer(std::string(PellixTests::queryPath), 500, "");
  std::optional<Outcome> outcome;
  const auto prepare = [&] {
    ask(outcome.emplace());
    host.transport->run();
  };
  prepare();
  withScarceMemory([] { return QVLMainQueue_runPending(), 0; },
                   [&](int, bool failed) {
                     EXPECT_EQ(outcome->releases, 1);
                     EXPECT_EQ(outcome->text, failed ? "" : "com.pellix.providers 500");
                     prepare();
                   });
  Support::settle(*host.transport);
}

TEST(ScarceMemory, GivesNoObject) {
  withScarceMemory(QVLPellixSettings_init, [](const QVLPellixSettings* settings, bool failed) {
    EXPECT_EQ(settings == nullptr, failed);
    if (settings) QVLRelease(settings);
  });
}

TEST(ScarceMemory, LeavesASetterWithoutEffect) {
  const auto release = [](void* releases) { ++*static_cast<int*>(releases); };
  const std::function<bool(int&)> setters[] = {
      [&](int& count) { return QVLMainQueue_setWakeHook([](void*) {}, &count, release); },
      [&](int& count) {
        return QVLCoreLogger_setSink([](int, const char*, size_t, void*) {}, &count, release);
      },
  };
  for (const auto& set : setters) {
    int releases = 0;
    int failures = 0;
    withScarceMemory([&] { return set(releases); },
                     [&](bool isSet, bool failed) {
                       EXPECT_EQ(isSet, !failed);
                       failures += failed;
                       EXPECT_EQ(releases, failures);
                     });
    EXPECT_GT(failures, 0);
  }
  QVLMainQueue_setWakeHook(nullptr, nullptr, nullptr);
  QVLCoreLogger_setSink(nullptr, nullptr, nullptr);
}

TEST(ScarceMemory, IsReportedWhereAReferenceIsLost) {
  const auto settings = std::make_shared<const PellixProvidersSDK::PellixSettings>();
  EXPECT_EXIT(
      {
        beginScarcity(0);
        QVLRetain(settings.get());
      },
      testing::KilledBySignal(SIGABRT), testing::StrEq("Fatal error: QVLRetain: out of memory\n"));
}

}  // namespace
}  // namespace BridgeTests
