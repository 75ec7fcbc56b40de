#include "Bridge/Bridge.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <limits>
#include <new>

namespace {

// How many more allocations succeed on this thread.
thread_local std::size_t left = std::numeric_limits<std::size_t>::max();

void* allocate(std::size_t size) {
  void* const memory = left == 0 ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (!memory) throw std::bad_alloc();
  --left;
  return memory;
}

}  // namespace

void* operator new(std::size_t size) {
  return allocate(size);
}
void* operator new[](std::size_t size) {
  return allocate(size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace BridgeTests {
namespace {

/// Calls with ever more memory until there is enough; `check` hears whether there was.
template <class Call, class Check>
void withScarceMemory(Call call, Check check) {
  for (std::size_t limit = 0;; ++limit) {
    ASSERT_LT(limit, 1000U);
    left = limit;
    const auto result = call();
    const bool ranOut = left == 0;
    left = std::numeric_limits<std::size_t>::max();
    check(result, ranOut);
    if (!ranOut) return;
  }
}

TEST(ScarceMemory, EndsAnOperationAndReleasesItsContextOnce) {
  for (const auto& operation : operations) {
    SCOPED_TRACE(operation.name);
    int ended = 0;
    int answered = 0;
    const Host host;
    host.transport->answer(std::string(operation.path), 200, PellixTests::responseJSON());
    Outcome* outcome = nullptr;
    withScarceMemory(
        [&] {
          left += 1;
          outcome = new Outcome;
          operation.start(*outcome);
          return 0;
        },
        [&](int, bool) {
          Support::settle(*host.transport);
          EXPECT_EQ(outcome->releases, 1);
          ++(outcome->text == operation.success ? answered : ended);
          delete outcome;
        });
    EXPECT_GT(ended, 0);
    EXPECT_GT(answered, 0);
  }
}

TEST(ScarceMemory, OnTheMainQueueEndsWhatRunsThere) {
  int ended = 0;
  int answered = 0;
  for (std::size_t limit = 0; answered == 0; ++limit) {
    ASSERT_LT(limit, 1000U);
    const Host host;
    host.transport->answer(std::string(PellixTests::queryPath), 500, "");
    Outcome outcome;
    ask(outcome);
    host.transport->run();
    left = limit;
    QVLMainQueue_runPending();
    left = std::numeric_limits<std::size_t>::max();
    EXPECT_EQ(outcome.releases, 1);
    ++(outcome.text == "com.pellix.providers 500" ? answered : ended);
  }
  EXPECT_GT(ended, 0);
}

TEST(ScarceMemory, GivesNoObject) {
  withScarceMemory([] { return QVLPellixSettings_init(); },
                   [](const QVLPellixSettings* settings, bool ranOut) {
                     EXPECT_EQ(settings == nullptr, ranOut && !settings);
                     if (settings) QVLRelease(settings);
                   });
}

TEST(ScarceMemory, LeavesASetterWithoutEffect) {
  using Set = bool (*)(int&);
  const Set setters[] = {
      [](int& releases) {
        return QVLMainQueue_setWakeHook([](void*) {}, &releases,
                                        [](void* context) { ++*static_cast<int*>(context); });
      },
      [](int& releases) {
        return QVLCoreLogger_setSink([](int, const char*, size_t, void*) {}, &releases,
                                     [](void* context) { ++*static_cast<int*>(context); });
      },
  };
  for (const auto set : setters) {
    int releases = 0;
    withScarceMemory([&] { return set(releases); },
                     [&](bool isSet, bool ranOut) {
                       EXPECT_TRUE(isSet || ranOut);
                       EXPECT_EQ(releases, isSet ? 0 : 1);
                       releases = 0;
                     });
  }
  QVLMainQueue_setWakeHook(nullptr, nullptr, nullptr);
  QVLCoreLogger_setSink(nullptr, nullptr, nullptr);
}

TEST(ScarceMemory, IsReportedWhereAReferenceIsLost) {
  const auto article = std::make_shared<const PellixProvidersSDK::PellixSettings>();
  EXPECT_EXIT(
      {
        left = 0;
        QVLRetain(article.get());
      },
      testing::KilledBySignal(SIGABRT), "QVLRetain");
}

}  // namespace
}  // namespace BridgeTests
