#include <PellixPlatform/DispatchQueue.h>

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace PlatformTests {
namespace {

using PellixPlatform::DispatchQueue;
using Log = std::vector<std::string>;

TEST(DispatchQueue, RunsForALimitedTime) {
  using std::chrono::milliseconds;
  DispatchQueue queue;
  EXPECT_EQ(queue.runFor(milliseconds(1)), 0U);
  std::string ran;
  queue.post([&] {
    ran += "first ";
    queue.post([&] { ran += "second "; });
    queue.post([&] { queue.stop(); });
  });
  EXPECT_EQ(queue.runFor(milliseconds::min()), 1U);  // what waits runs whatever the limit
  queue.post([&] { ran += "third"; });
  EXPECT_EQ(queue.runFor(milliseconds::max()), 2U);
  EXPECT_EQ(ran, "first second ");
  EXPECT_EQ(queue.runFor(milliseconds::zero()), 1U);
}

TEST(DispatchQueue, TheMainOneIsAlwaysTheSame) {
  EXPECT_EQ(&DispatchQueue::main(), &DispatchQueue::main());
}

TEST(DispatchQueue, RunsTasksInTheirOrder) {
  DispatchQueue queue;
  Log log;
  queue.post([&] { log.emplace_back("a"); });
  queue.post([&] {
    log.emplace_back("b");
    queue.post([&] {
      log.emplace_back("d");
      queue.stop();
    });
  });
  queue.post([&] { log.emplace_back("c"); });
  queue.run();
  EXPECT_EQ(log, (Log{"a", "b", "c", "d"}));
}

TEST(DispatchQueue, RunPendingLeavesWhatItsTasksPost) {
  DispatchQueue queue;
  Log log;
  EXPECT_EQ(queue.runPending(), 0U);
  queue.post([&] {
    log.emplace_back("a");
    queue.post([&] { log.emplace_back("c"); });
  });
  queue.post([&] { log.emplace_back("b"); });
  EXPECT_EQ(queue.runPending(), 2U);
  EXPECT_EQ(log, (Log{"a", "b"}));
  EXPECT_EQ(queue.runPending(), 1U);
  EXPECT_EQ(log, (Log{"a", "b", "c"}));
}

TEST(DispatchQueue, MayBeRunFromWithinATask) {
  DispatchQueue queue;
  Log log;
  queue.post([&] {
    log.emplace_back("a begins");
    queue.runPending();
    log.emplace_back("a ends");
  });
  queue.post([&] { log.emplace_back("b"); });
  queue.runPending();
  EXPECT_EQ(log, (Log{"a begins", "b", "a ends"}));
}

TEST(DispatchQueue, DestroysATaskBeforeTheNextRuns) {
  for (const bool pending : {true, false}) {
    DispatchQueue queue;
    std::weak_ptr<int> first;
    bool isGone = false;
    {
      const auto captured = std::make_shared<int>(1);
      first = captured;
      queue.post([captured] {});
    }
    EXPECT_FALSE(first.expired());
    queue.post([&] {
      isGone = first.expired();
      queue.stop();
    });
    pending ? static_cast<void>(queue.runPending()) : queue.run();
    EXPECT_TRUE(isGone);
  }
}

TEST(DispatchQueue, StopEndsOneRunAndLeavesTheTasks) {
  DispatchQueue queue;
  Log log;
  queue.post([&] {
    log.emplace_back("a");
    queue.stop();
  });
  queue.post([&] {
    log.emplace_back("b");
    queue.stop();
  });
  queue.stop();
  queue.run();
  EXPECT_EQ(log, Log());
  queue.run();
  EXPECT_EQ(log, Log{"a"});
  queue.run();
  EXPECT_EQ(log, (Log{"a", "b"}));
}

TEST(DispatchQueue, StaysUsableWhenATaskThrows) {
  for (const bool pending : {true, false}) {
    DispatchQueue queue;
    Log log;
    int woken = 0;
    const auto run = [&] { pending ? static_cast<void>(queue.runPending()) : queue.run(); };
    queue.setWakeHook([&] { ++woken; });
    queue.post([&] {
      log.emplace_back("a");
      throw std::runtime_error("a");
    });
    queue.post([&] {
      log.emplace_back("b");
      queue.stop();
    });
    EXPECT_THROW(run(), std::runtime_error);
    if (pending) {
      EXPECT_EQ(woken, 2);
    }
    run();
    EXPECT_EQ(log, (Log{"a", "b"}));
  }
}

TEST(DispatchQueue, CallsTheWakeHookWhenThereIsSomethingToRun) {
  DispatchQueue queue;
  int woken = 0;
  queue.post([] {});
  queue.setWakeHook([&] { ++woken; });
  EXPECT_EQ(woken, 1) << "a task waits already";
  queue.post([] {});
  EXPECT_EQ(woken, 1) << "not empty";
  queue.runPending();
  EXPECT_EQ(woken, 1) << "nothing is left";
  queue.post([&] { queue.post([] {}); });
  EXPECT_EQ(woken, 2);
  queue.runPending();
  EXPECT_GT(woken, 2) << "a task is left";
  queue.runPending();
  const int before = woken;
  queue.setWakeHook({});
  queue.post([] {});
  EXPECT_EQ(woken, before) << "no hook is left";
}

TEST(DispatchQueue, CallsTheWakeHookOutsideItsLock) {
  DispatchQueue queue;
  Log log;
  std::thread::id hookThread;
  queue.setWakeHook([&] {
    hookThread = std::this_thread::get_id();
    log.emplace_back("woken");
    queue.post([&] { log.emplace_back("b"); });
    queue.stop();
    queue.setWakeHook({});
  });
  std::thread poster([&] { queue.post([&] { log.emplace_back("a"); }); });
  const auto posterThread = poster.get_id();
  poster.join();
  EXPECT_EQ(hookThread, posterThread);
  queue.runPending();
  EXPECT_EQ(log, (Log{"woken", "a", "b"}));
}

TEST(DispatchQueue, TakesTasksFromManyThreads) {
  constexpr int threads = 4;
  constexpr int each = 2'000;
  DispatchQueue queue;
  int ran = 0;
  int next[threads] = {};
  bool inOrder = true;
  std::vector<std::thread> posters;
  for (int t = 0; t < threads; ++t) {
    posters.emplace_back([&, t] {
      for (int i = 0; i < each; ++i) {
        queue.post([&, t, i] {
          inOrder = inOrder && next[t]++ == i;
          if (++ran == threads * each) queue.stop();
        });
      }
    });
  }
  queue.run();
  for (auto& thread : posters) thread.join();
  EXPECT_EQ(ran, threads * each);
  EXPECT_TRUE(inOrder);
}

TEST(DispatchQueue, WakesARunThatWaits) {
  DispatchQueue queue;
  std::atomic<bool> answered = false;
  int ran = 0;
  std::thread other([&] {
    for (int i = 0; i < 1'000; ++i) {
      answered = false;
      queue.post([&] {
        ++ran;
        answered = true;
        answered.notify_one();
      });
      answered.wait(false);
    }
    queue.stop();
  });
  queue.run();
  other.join();
  EXPECT_EQ(ran, 1'000);
}

}  // namespace
}  // namespace PlatformTests
