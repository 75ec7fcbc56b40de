#include "Lifecycle/ScarceMemory.h"
#include "PellixProvidersSDK/Host.h"
#include "Support/LoopbackServer.h"

#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/JSONEncoder.h>
#include <PellixPlatform/URL.h>

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <future>
#include <new>
#include <string>
#include <string_view>

/// Every allocation fails in turn, and memory comes back.
namespace LifecycleTests {
namespace {

using namespace PellixTests;
using PellixPlatform::DispatchQueue;
using QuorvelCoreSDK::CoreLogger;
using QuorvelCoreSDK::Testing::ScriptedTransport;

/// Runs `body`; false if it was left for want of memory.
template <class Body>
bool isCompleted(Body body) {
  try {
    body();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

/// How the service answers, and whether it has been asked for settings before.
struct Course {
  const char* name;
  bool isSettled = true;
  int status = 200;
  std::string reply = responseJSON();
  const char* settings = enabled;
};

const Course courses[] = {
    {"settings at hand"},
    {"settings fetched", false},
    {"disabled", false, 200, "", disabled},
    {"a reply for the slower reader", true, 200, responseJSON().replace(20, 1, "7.0")},
    {"a faulty reply", true, 200, responseJSON().replace(20, 1, "null")},
    {"an HTTP error", true, 500},
    {"no connection", true, 0},
};

/// Runs whatever waits. What memory is missing for has ended, and the rest goes on.
void settle(ScriptedTransport& transport) {
  for (int i = 0; i < 100; ++i) {  // not for ever: there may be no memory for the queue itself
    if (isCompleted([&] { transport.settle(); })) return;
  }
}

/// Sets up the library and begins an operation, all or the operation alone with an allocation that
/// fails; then once more without. Whether one failed.
bool survives(const Operation& operation, const Course& course, bool isSetUpBefore, std::size_t n,
              Shortage shortage) {
  const auto transport = serviceWith(course.settings, course.status, course.reply);
  std::shared_ptr<PellixProvider> provider;
  const auto start = [&](Outcome& outcome) {
    if (!provider) provider = setUp({.transport = transport});
    operation.start(*provider, outcome);
  };
  const auto isAnswered = [&] {
    Outcome outcome{.isTerse = true};
    start(outcome);
    settle(*transport);
    return outcome.calls == 1 && outcome.releases == 1;
  };
  if (isSetUpBefore) provider = setUp({.transport = transport});
  EXPECT_TRUE(!course.isSettled || isAnswered());
  Outcome outcome{.isTerse = true};
  Support::beginFailingAllocations(n, shortage);
  static_cast<void>(isCompleted([&] { start(outcome); }));
  settle(*transport);
  const bool failed = Support::endFailingAllocations();
  settle(*transport);
  EXPECT_LE(outcome.calls, 1);
  EXPECT_EQ(outcome.releases, outcome.begun);
  EXPECT_TRUE(failed || outcome.calls == 1);
  EXPECT_TRUE(isAnswered());
  setUp({.transport = serviceWith()});  // the facade keeps the last, with what that has sent
  return failed;
}

/// A queue of libc++ keeps a block that it has emptied, now and then.
#ifdef _LIBCPP_VERSION
constexpr std::ptrdiff_t spareBlocks = 1;
#else
constexpr std::ptrdiff_t spareBlocks = 0;
#endif

TEST(Memory, ThatRunsOutEndsAnOperationAndReleasesItsCallbackOnce) {
  CoreLogger::setLevel(QuorvelCoreSDK::LogLevel::off);
  for (const auto& operation : {query, resolution, rejection}) {
    for (const auto& course : courses) {
      for (int i = 0; i < 2; ++i) survives(operation, course, true, 1'000'000, Shortage::passing);
      const auto before = Support::liveAllocations();
      failEveryAllocation(course.name, [&](std::size_t n, Shortage shortage) {
        const bool failed = survives(operation, course, true, n, shortage);
        EXPECT_GE(Support::liveAllocations(), before);
        EXPECT_LE(Support::liveAllocations(), before + spareBlocks);
        return failed;
      });
    }
  }
}

TEST(Memory, ThatRunsOutAtTheStartOfAProcessLeavesNothingSpoilt) {
  CoreLogger::setLevel(QuorvelCoreSDK::LogLevel::off);
  // But for what simdjson makes once, which nobody can make fail and live.
  ASSERT_FALSE(PellixPlatform::JSONDecoder().decode<PellixProvidersSDK::DeflectionResponse>("{}"));
  failEveryAllocation("a process's start", [&](std::size_t n, Shortage shortage) {
    const auto child = fork();
    if (child == 0) {
      const bool failed = survives(query, courses[1], false, n, shortage);
      _exit(testing::Test::HasFailure() ? 2 : failed ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) < 2) << status;
    return WEXITSTATUS(status) == 1;
  });
}

TEST(Memory, IsTakenOnceForABodyAndNotToTakeApartAnAddressThatIsOrdinary) {
  const PellixProvidersSDK::DeflectionArticle article({.body = std::string(120, 'x')});
  const auto isCompletedWith = [](std::size_t allocations, auto body) {
    Support::beginFailingAllocations(allocations);
    const bool wasCompleted = isCompleted(body);
    return !Support::endFailingAllocations() && wasCompleted;
  };
  EXPECT_TRUE(isCompletedWith(
      1, [&] { static_cast<void>(PellixPlatform::JSONEncoder().encode(article)); }));
  for (const char* address :
       {"https://a.z", "http://0-9.a:80/az&'();@AZ_~", "http://127.0.0.1:80"}) {
    std::string text = address;
    EXPECT_TRUE(isCompletedWith(0, [&] {
      EXPECT_TRUE(PellixPlatform::URL::parse(std::move(text)));
    })) << address;
  }
  // Of others, it is not said that they follow no grammar.
  std::string other = "http://A/%20";
  bool isRefused = false;
  isCompletedWith(0, [&] { isRefused = !PellixPlatform::URL::parse(std::move(other)); });
  EXPECT_FALSE(isRefused);
}

TEST(Memory, OfADecodingIsKeptUpToAMebibyte) {
  const auto left = [](const char* start, std::size_t times, std::string_view repeated,
                       const char* end) {
    std::string json = start;
    for (std::size_t i = 0; i < times; ++i) json += repeated;
    EXPECT_FALSE(PellixPlatform::JSONDecoder().decode<bool>(json += end));
    return Support::liveAllocations();
  };
  constexpr std::size_t most = std::size_t{1} << 20;
  struct Row {
    const char* start;
    std::size_t times;
    const char* repeated;
    const char* end;
  };
  // The fast reader's; nodes of the other one, which are kept by powers of two; its own text.
  for (const auto& [start, times, repeated, end] : {Row{"\"", most - 2, " ", "\""},
                                                    {"[1e400", 32766, ",0", "]"},
                                                    {"[1e400,\"\\n", most - 29, " ", "\"]"}}) {
    const auto kept = left(start, times, repeated, end);
    EXPECT_LT(left(start, times + 1, repeated, end), kept) << start;
  }
}

/// Of the account, and of the knowledge base.
constexpr char settingsOfBoth[] = R"({"pellix":{"enabled":true},"locale":"de"})";

Support::LoopbackReply answer(const Support::LoopbackRequest& request) {
  const bool isQuery = request.head.starts_with("POST ");
  const auto document = isQuery ? responseJSON() : settingsOfBoth;
  return {Support::httpReply("200 OK", document), Support::LoopbackReply::Then::keep};
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
Outcome ask(PellixProvider& provider) {
  Outcome outcome{.isTerse = true, .onRelease = [] { DispatchQueue::main().stop(); }};
  query.start(provider, outcome);
  DispatchQueue::main().run();
  return outcome;
}

TEST(Memory, ThatIsMissingForTheWorkerLeavesAsAnException) {
  const Support::LoopbackServer server(answer);
  const auto provider = setUp({}, server.origin());
  pthread_attr_t before;
  pthread_attr_t huge;
  pthread_getattr_default_np(&before);
  pthread_attr_init(&huge);
  pthread_attr_setstacksize(&huge, std::size_t{1} << 47);
  ASSERT_EQ(pthread_setattr_default_np(&huge), 0);
  Outcome outcome;
  EXPECT_THROW(query.start(*provider, outcome), std::bad_alloc);
  pthread_setattr_default_np(&before);
  EXPECT_EQ(outcome.ending(), "silence");
  EXPECT_EQ(ask(*provider).records, 1);
}

/// Hands on to the default one, and sees to it that a reply is whole.
class WatchedTransport final : public QuorvelCoreSDK::Transport {
 public:
  void send(QuorvelCoreSDK::TransportRequest request, Completion completion) override {
    inner_->send(std::move(request), [completion = std::move(completion)](auto reply) {
      const auto* const response =
          dynamic_cast<const PellixPlatform::HTTPURLResponse*>(reply.response.get());
      EXPECT_TRUE(!response || (reply.data && response->allHeaderFields().size() == 1));
      completion(std::move(reply));
    });
  }
  void post(std::function<void()> task) override { inner_->post(std::move(task)); }

 private:
  const std::shared_ptr<Transport> inner_ = QuorvelCoreSDK::makeTransport().value();
};

TEST(Memory, ThatRunsOutOnTheWorkerEndsARequestAndNotTheProcess) {
  const Support::LoopbackServer server(answer);
  const auto isShort = [&](std::size_t n, Shortage shortage) {
    // A new one, since settings that it had kept would serve for a while after a failure.
    const auto provider = setUp({.settingsTimeToLive = std::chrono::milliseconds(0),
                                 .transport = std::make_shared<WatchedTransport>()},
                                server.origin());
    onWorker([&] { Support::beginFailingAllocations(n, shortage); });
    const auto outcome = ask(*provider);
    EXPECT_TRUE(Quorvel::instance()->waitUntilIdle(std::chrono::minutes(1)));
    bool failed = false;
    onWorker([&] { failed = Support::endFailingAllocations(); });
    EXPECT_EQ(outcome.releases, 1);
    EXPECT_LE(outcome.calls, 1);
    EXPECT_TRUE(failed || outcome.records == 1);
    EXPECT_EQ(ask(*provider).records, 1);
    return failed;
  };
  failEveryAllocation("on the worker",
                      [&](std::size_t n, Shortage shortage) {
                        // Not every question takes the same: some find a connection or memory, and
                        // some do not.
                        for (int i = 0; i < 10; ++i) {
                          if (isShort(n, shortage)) return true;
                        }
                        return false;
                      },
                      {Shortage::passing});
}

}  // namespace
}  // namespace LifecycleTests
