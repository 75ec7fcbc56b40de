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
using std::chrono::milliseconds;

const std::function<void(DispatchQueue&)> waysToRun[] = {
    [](auto& queue) { queue.run(); },
    [](auto& queue) { queue.runFor(milliseconds::max()); },
    [](auto& queue) { queue.runPending(); },
};

TEST(DispatchQueue, RunsTasksInTheirOrderWhateverTheyThrowAndEachIsGoneBeforeTheNext) {
  for (const auto& run : waysToRun) {
    DispatchQueue queue;
    std::string log;
    int woken = 0;
    queue.setWakeHook([&] { ++woken; });
    auto held = std::make_shared<int>();
    const std::weak_ptr<int> first = held;
    queue.post([&log, kept = std::exchange(held, nullptr)] { log += kept ? 'a' : '-'; });
    queue.post([&] {
      log += first.expired() ? 'b' : '-';
      throw std::runtime_error("b");
    });
    queue.post([&] {
      log += 'c';
      queue.stop();
    });
    EXPECT_EQ(woken, 1);
    EXPECT_THROW(run(queue), std::runtime_error);
    EXPECT_EQ(woken, 2) << "a task is left";
    run(queue);
    EXPECT_EQ(log, "abc");
    EXPECT_EQ(woken, 2) << "nothing is left";
  }
}

TEST(DispatchQueue, EachWayToRunHasItsEnd) {
  auto& queue = DispatchQueue::main();
  std::string log;
  const auto post = [&](char letter) { queue.post([&log, letter] { log += letter; }); };
  EXPECT_EQ(queue.runPending(), 0U);
  EXPECT_EQ(queue.runFor(milliseconds(1)), 0U);
  queue.post([&] {
    post('a');
    queue.post([&queue] { queue.stop(); });
    post('b');
  });
  EXPECT_EQ(queue.runPending(), 1U);  // leaves what its tasks post
  EXPECT_EQ(log, "");
  EXPECT_EQ(queue.runFor(milliseconds::max()), 2U);  // until it is stopped
  EXPECT_EQ(log, "a");
  EXPECT_EQ(queue.runFor(milliseconds::min()), 1U);  // what waits runs whatever the limit
  EXPECT_EQ(log, "ab");
  post('c');
  queue.stop();  // ends one run, and leaves the tasks
  queue.run();
  EXPECT_EQ(log, "ab");
  queue.post([&] {
    DispatchQueue::main().runPending();
    queue.stop();
  });
  post('d');
  EXPECT_EQ(queue.runPending(), 2U);  // which one of its tasks did too
  queue.run();
  EXPECT_EQ(log, "abcd");
}

TEST(DispatchQueue, AThreadIsNotTakenForAnEarlierOne) {
  std::thread::id earlier;
  std::thread::id later;
  const auto run = [&] {
    earlier = std::this_thread::get_id();
    DispatchQueue::main().runPending();
  };
  const auto check = [&] {
    later = std::this_thread::get_id();
    DispatchQueue::main().assertNotOnQueue();
  };
  std::thread(run).join();
  std::thread(check).join();
  if (earlier != later) GTEST_SKIP() << "The system gives threads names of their own.";
}

TEST(DispatchQueue, CallsTheWakeHookWhenThereIsSomethingToRun) {
  DispatchQueue queue;
  int woken = 0;
  std::thread::id hookThread;
  queue.post([] {});
  queue.setWakeHook([&] { ++woken; });
  EXPECT_EQ(woken, 1) << "a task waits already";
  queue.post([&] { queue.post([] {}); });
  EXPECT_EQ(woken, 1) << "not empty";
  queue.runPending();
  EXPECT_GT(woken, 1) << "a task is left";
  queue.runPending();
  const int before = woken;
  queue.setWakeHook([&] {  // outside the lock
    hookThread = std::this_thread::get_id();
    queue.post([&] { ++woken; });
    queue.stop();
    queue.setWakeHook({});
  });
  std::thread poster([&] { queue.post([] {}); });
  const auto posterThread = poster.get_id();
  poster.join();
  EXPECT_EQ(hookThread, posterThread);
  EXPECT_EQ(queue.runPending(), 2U);
  queue.post([] {});
  EXPECT_EQ(woken, before + 1) << "no hook is left";
}

TEST(DispatchQueue, TakesTasksFromManyThreadsAlsoWhileItWaitsForThem) {
  for (const bool isLimited : {false, true}) {
    DispatchQueue queue;
    std::size_t ran = 0;
    std::vector<std::thread> posters(4);
    for (auto& poster : posters) {
      poster = std::thread([&] {
        for (int i = 0; i < 500; ++i) {
          std::atomic<bool> answered = false;
          queue.post([&] {
            ++ran;
            answered = true;
            answered.notify_one();
          });
          answered.wait(false);
        }
      });
    }
    std::thread stopper([&] {
      for (auto& poster : posters) poster.join();
      queue.stop();
    });
    waysToRun[isLimited](queue);
    stopper.join();
    EXPECT_EQ(ran, 2'000U);
  }
}

}  // namespace
}  // namespace PlatformTests
