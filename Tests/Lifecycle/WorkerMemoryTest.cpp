#include "Lifecycle/Application.h"
#include "Support/FailingAllocations.h"
#include "Support/LoopbackServer.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdio>
#include <future>

namespace LifecycleTests {
namespace {

using PellixPlatform::DispatchQueue;
using Support::LoopbackReply;

LoopbackReply answer(const Support::LoopbackRequest& request) {
  const bool isQuery = request.head.starts_with("POST ");
  const auto document = isQuery ? PellixTests::responseJSON() : settings;
  return {Support::httpReply("200 OK", document), LoopbackReply::Then::keep};
}

/// Runs `task` on the worker, to its end.
void onWorker(std::function<void()> task) {
  std::promise<void> done;
  Quorvel::instance()->post([&] {
    task();
    done.set_value();
  });
  done.get_future().wait();
}

/// One question; returns when it has ended, in whatever way.
Ending ask(PellixProvider& provider) {
  Ending ending;
  provider.getDeflectionForQuery("How?", ending.callback([] { DispatchQueue::main().stop(); }));
  DispatchQueue::main().run();
  return ending;
}

// First, for the thread starts once.
TEST(WorkerMemory, ThatIsMissingForTheThreadItselfLeavesAsAnException) {
  const Support::LoopbackServer server(answer);
  const auto provider = setUp(server.origin(), {});
  pthread_attr_t before;
  pthread_attr_t huge;
  pthread_getattr_default_np(&before);
  pthread_attr_init(&huge);
  pthread_attr_setstacksize(&huge, std::size_t{1} << 47);
  ASSERT_EQ(pthread_setattr_default_np(&huge), 0);
  Ending ending;
  EXPECT_THROW(provider->getDeflectionForQuery("How?", ending.callback()), std::bad_alloc);
  pthread_setattr_default_np(&before);
  EXPECT_EQ(ending.calls, 0);
  EXPECT_EQ(ending.releases, 1);
  EXPECT_EQ(ask(*provider).records, 1);
  EXPECT_EQ(ending.releases, 1);
}

TEST(WorkerMemory, ThatRunsOutEndsARequestAndNotTheProcess) {
  const Support::LoopbackServer server(answer);
  // Settings that are never fresh are fetched for every question.
  const auto provider =
      setUp(server.origin(), {.settingsTimeToLive = std::chrono::milliseconds(0)});
  ASSERT_EQ(ask(*provider).records, 1);
  int failures = 0;
  for (std::size_t n = 0, unharmed = 0; unharmed < 10; ++n) {
    ASSERT_LT(n, 20'000U);
    onWorker([n] { Support::beginFailingAllocations(n, Support::Shortage::passing); });
    const auto ending = ask(*provider);
    bool failed = false;
    onWorker([&] { failed = Support::endFailingAllocations(); });
    ASSERT_EQ(ending.releases, 1) << n;
    ASSERT_LE(ending.calls, 1) << n;
    ASSERT_TRUE(failed || ending.records == 1) << n;
    ASSERT_EQ(ask(*provider).records, 1) << n;
    failures += failed;
    unharmed += !failed;
  }
  EXPECT_GT(failures, 50);
  std::printf("on the worker: %d\n", failures);
}

}  // namespace
}  // namespace LifecycleTests
