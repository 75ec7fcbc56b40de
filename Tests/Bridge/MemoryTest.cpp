#include "Bridge/Bridge.h"
#include "Lifecycle/ScarceMemory.h"

#include <gmock/gmock.h>

#include <functional>

namespace BridgeTests {
namespace {

using LifecycleTests::failEveryAllocation;
using Support::beginFailingAllocations;
using Support::endFailingAllocations;
using Support::Shortage;

TEST(ScarceMemory, EndsAnOperationAndReleasesItsContextOnce) {
  const Host host;
  host.transport->answer(std::string(PellixTests::rejectPath), 404, "{}");
  failEveryAllocation("operation", [&](std::size_t n, Shortage shortage) {
    Outcome outcome{.isTerse = true};
    beginFailingAllocations(n, shortage);
    reject(outcome);
    const bool failed = endFailingAllocations();
    host.transport->settle();
    EXPECT_EQ(outcome.releases, 1);
    EXPECT_TRUE(outcome.calls == 1 || failed);
    return failed;
  });
  Outcome outcome{.isTerse = true};
  reject(outcome);
  host.transport->run();
  beginFailingAllocations(0);  // for the error's object
  const bool ran = QVLMainQueue_runFor(0);
  EXPECT_TRUE(endFailingAllocations());
  EXPECT_TRUE(ran);
  EXPECT_EQ(outcome.calls, 0);
  EXPECT_EQ(outcome.releases, 1);
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
  Outcome hook;
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
      {"wake hook",
       [&] {
         const bool isSet = QVLMainQueue_setWakeHook([](void*) {}, hook.begin(), Outcome::release);
         EXPECT_EQ(hook.begun - hook.releases, 1);  // the last one that was set
         return isSet;
       }},
  };
  for (const auto& [name, isDone] : calls) {
    ASSERT_TRUE(isDone()) << name;
    const auto before = Support::liveAllocations();
    failEveryAllocation(name, [&](std::size_t n, Shortage shortage) {
      beginFailingAllocations(n, shortage);
      const bool wasDone = isDone();
      const bool failed = endFailingAllocations();
      EXPECT_TRUE(wasDone || failed);
      EXPECT_TRUE(isDone());
      EXPECT_EQ(Support::liveAllocations(), before);
      return failed;
    });
  }
  QVLMainQueue_setWakeHook(nullptr, nullptr, nullptr);
  const std::string root(100, '/');
  beginFailingAllocations(0);
  const bool isSet = QVLBundle_setResourceDirectory(root.data(), root.size());
  endFailingAllocations();
  EXPECT_FALSE(isSet);
  QVLRelease(configuration);
  QVLRelease(quorvel);
  QVLRelease(veltrane);
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
