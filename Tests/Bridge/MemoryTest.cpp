#include "Bridge/Bridge.h"
#include "Support/Scarcity.h"

#include <gmock/gmock.h>

#include <functional>
#include <optional>

namespace BridgeTests {
namespace {

using Support::beginScarcity;
using Support::endScarcity;

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

/// Notes what came, without any memory.
template <class Record>
void note(const Record*, const QVLError* error, void* context) {
  static_cast<Outcome*>(context)->text = error ? "error" : "record";
}

TEST(ScarceMemory, EndsAnOperationAndReleasesItsContextOnce) {
  const std::pair<const char*, void (*)(Outcome&)> starts[] = {
      {"ask", [](Outcome& outcome) { ask(outcome, "How?", note); }},
      {"resolve", [](Outcome& outcome) { resolve(outcome, note); }},
      {"reject", [](Outcome& outcome) { reject(outcome, QVLRejectionReason2, note); }},
  };
  const std::pair<std::shared_ptr<PellixTests::OwnSettings>, const char*> accounts[] = {
      {nullptr, "record"},  // nothing is at hand
      {std::make_shared<PellixTests::OwnSettings>(PellixTests::disabled), "error"},
  };
  for (const auto& [settings, expected] : accounts) {
    for (const auto& [name, start] : starts) {
      const Host host(settings);
      host.transport->answer(std::string(resolvePath), 200, "");
      host.transport->answer(std::string(rejectPath), 200, "");
      std::optional<Outcome> outcome;
      withScarceMemory([&] { return start(outcome.emplace()), 0; },
                       [&](int, bool failed) {
                         Support::settle(*host.transport);
                         EXPECT_EQ(outcome->releases, 1) << name;
                         EXPECT_EQ(outcome->text, failed ? "" : expected) << name;
                       });
    }
  }
}

TEST(ScarceMemory, OnTheMainQueueEndsWhatRunsThere) {
  const Host host;
  host.transport->answer(std::string(rejectPath), 200, "{}");
  std::optional<Outcome> outcome;
  const auto prepare = [&] {
    reject(outcome.emplace(), QVLRejectionReason2, note);
    host.transport->run();
  };
  prepare();
  int failures = 0;
  withScarceMemory([] { return QVLMainQueue_runPending(), 0; },
                   [&](int, bool failed) {
                     failures += failed;
                     EXPECT_EQ(outcome->releases, 1);
                     EXPECT_EQ(outcome->text, failed ? "" : "record");
                     prepare();
                   });
  EXPECT_GT(failures, 0);
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
  int counts[] = {0, 0};  // the last ones are released at the end
  for (auto* releases = counts; const auto& set : setters) {
    int failures = 0;
    withScarceMemory([&] { return set(*releases); },
                     [&](bool isSet, bool failed) {
                       EXPECT_EQ(isSet, !failed);
                       failures += failed;
                       EXPECT_EQ(*releases, failures);
                     });
    EXPECT_GT(failures, 0);
    ++releases;
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
