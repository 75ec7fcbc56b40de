#include <PellixProvidersSDK/Async.h>

#include <PellixProvidersSDKTesting/FakePellixProvider.h>
#include <gtest/gtest.h>

#include <thread>

namespace PellixProvidersSDK {
namespace {

using PellixPlatform::DispatchQueue;

std::string textOf(const Ending<PellixDispatcherResponse>& ending) {
  if (!ending) return "silence";
  return *ending ? "record" : (*ending).error().domain();
}

/// A coroutine that nobody waits for, and that goes at its end.
struct Detached {
  struct promise_type {
    Detached get_return_object() {
      return {std::coroutine_handle<promise_type>::from_promise(*this)};
    }
    std::suspend_never initial_suspend() { return {}; }
    std::suspend_never final_suspend() noexcept { return {}; }
    void return_void() {}
    void unhandled_exception() { std::terminate(); }
  };
  std::coroutine_handle<> handle;
};

Detached await(EndingFuture<PellixDispatcherResponse> future, std::string& seen) {
  seen = textOf(co_await std::move(future));
}

/// Each way to hear of an ending, with the queue run on this thread; the second time what is waited
/// for has ended before.
std::string heard(Testing::FakePellixProvider& provider, int way) {
  const auto finish = [&] {
    provider.finishAll();
    DispatchQueue::main().runPending();
  };
  std::string seen;
  if (way == 0) {
    const auto end = [&](const auto& ending) { seen += textOf(ending); };
    provider.resolveWithArticle(1, 2, "t", whenEnded<PellixDispatcherResponse>(end));
    provider.finishAll();
    EXPECT_EQ(seen, "");  // not before the queue runs
    finish();
  } else if (way == 1) {
    auto future = reject(provider, 1, 2, "t", RejectionReason::reason1);
    std::thread waiting([&] { seen = textOf(future.get()); });
    finish();
    waiting.join();
  } else {
    auto future = resolve(provider, 1, 2, "t");
    if (way == 3) finish();
    await(std::move(future), seen);
    finish();
  }
  return seen;
}

TEST(Async, TellsTheThreeEndingsApart) {
  const std::pair<Ending<PellixDispatcherResponse>, const char*> endings[] = {
      {Testing::httpResponse(), "record"},
      {std::unexpected(PellixPlatform::Error("domain", 7)), "domain"},
      {Testing::silence, "silence"},
  };
  for (const auto& [ending, expected] : endings) {
    Testing::FakePellixProvider provider;
    provider.onResolution(ending);
    provider.onRejection(ending);
    for (int way = 0; way < 4; ++way) EXPECT_EQ(heard(provider, way), expected) << way;
  }
}

TEST(Async, LeavesADestroyedCoroutineAlone) {
  Testing::FakePellixProvider provider;
  std::string seen;
  await(resolve(provider, 1, 2, "t"), seen).handle.destroy();
  provider.finishAll();
  DispatchQueue::main().runPending();
  EXPECT_EQ(seen, "");
}

TEST(AsyncDeathTest, SaysThatTheQueueCannotBeWaitedForWhereItRuns) {
  Testing::FakePellixProvider provider;
  DispatchQueue::main().runPending();
  EXPECT_DEATH(static_cast<void>(ask(provider, "q").get()), "This thread runs the queue");
}

}  // namespace
}  // namespace PellixProvidersSDK
