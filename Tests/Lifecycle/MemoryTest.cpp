#include "Lifecycle/Application.h"
#include "Support/FailingAllocations.h"

#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/JSONEncoder.h>
#include <PellixPlatform/internal/PropertyListDecoder.h>
#include <QuorvelCoreSDK/CoreError.h>

#include <QuorvelCoreSDKTesting/ScriptedTransport.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <new>
#include <string>

/// Every allocation fails in turn, and memory comes back.
namespace LifecycleTests {
namespace {

using PellixProvidersSDK::DeflectionResponse;
using QuorvelCoreSDK::Testing::ScriptedTransport;
using Support::Shortage;

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

/// Calls `run` with the n-th allocation failing, and with all from the n-th on, for every n until
/// none fails any more. `run` begins the scarcity itself, and says whether it reached that.
template <class Run>
void failEveryAllocation(const std::string& name, Run run) {
  std::size_t failed = 0;
  for (const auto shortage : {Shortage::passing, Shortage::lasting}) {
    std::size_t n = 0;
    for (; run(n, shortage); ++n) {
      if (testing::Test::HasFailure()) {
        ADD_FAILURE() << name << ": allocation " << n
                      << (shortage == Shortage::passing ? " alone" : " and all later ones");
        return;
      }
      ASSERT_LT(n, 5'000U) << name;
    }
    failed += n;
  }
  EXPECT_GT(failed, 0U) << name;
  std::printf("%s: %zu\n", name.c_str(), failed);
}

struct Work {
  const char* name;
  std::function<bool()> isRight;  // does it, and looks at the result
};

/// A record with nothing but a number.
struct Measure {
  double value;
  explicit Measure(const PellixPlatform::Decoder& decoder) : value(decoder.read<double>("value")) {}
};

/// A record whose encoding comes to its end or fails.
struct Text {
  std::string value;
  static constexpr std::tuple keys{PellixPlatform::Key{"text", &Text::value}};
  void encode(PellixPlatform::Encoder& encoder) const { encoder.encode(*this, keys); }
};

bool decodes(const std::string& document) {
  const auto decoded = PellixPlatform::JSONDecoder().decode<DeflectionResponse>(document);
  return decoded && (*decoded)->deflection()->deflectionID() == 7 &&
         (*decoded)->deflectionArticles().size() == 2;
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
  return text.replace(text.find(what), what.size(), with);
}

TEST(Memory, ThatRunsOutWithinAFunctionLeavesAsAnException) {
  const auto ordinary = PellixTests::responseJSON();
  const auto handedOver = replaced(ordinary, "4711", "4711.0");
  const auto wrong = replaced(ordinary, "4711", "null");
  const Text good{std::string(100, '"')};
  const Text bad{std::string(100, '\xFF')};
  const PellixPlatform::Error error("domain", 1, {{"text", std::string(100, 'x')}, {"number", 5}});
  const std::string list =
      "<plist><array><dict><key>value</key><real>1.5</real></dict></array></plist>";
  const Work works[] = {
      {"decode, ordinary", [&] { return decodes(ordinary); }},
      {"decode, handed over", [&] { return decodes(handedOver); }},
      {"decode, an error",
       [&] {
         const auto decoded = PellixPlatform::JSONDecoder().decode<DeflectionResponse>(wrong);
         return !decoded && decoded.error().userInfo().size() == 6;
       }},
      {"encode",
       [&] {
         const auto encoded = PellixPlatform::JSONEncoder().encode(good);
         return encoded && encoded->size() == 200 + std::string(R"({"text":""})").size();
       }},
      {"encode, an error", [&] { return !PellixPlatform::JSONEncoder().encode(bad); }},
      {"an error, copied", [&] { return PellixPlatform::Error(error) == error; }},
      {"an error, copied onto another",
       [&] {
         PellixPlatform::Error copy("other", 2, {{"text", 7}, {"number", "five"}});
         copy = error;
         return copy == error;
       }},
      {"an error of the core",
       [&] {
         return QuorvelCoreSDK::makeCoreError(QuorvelCoreSDK::CoreErrorCode::timedOut, "detail")
                    .userInfo()
                    .size() == 1;
       }},
      {"property list",
       [&] {
         return PellixPlatform::PropertyListDecoder()
             .decode<std::vector<Measure>>(list)
             .has_value();
       }},
      {"URL",  // two of them, for the latest one is kept
       [&] {
         return PellixPlatform::URL::parse("http://[::1]:80/a/path/that/takes/memory?z")
                    .has_value() &&
                PellixPlatform::URL::parse("https://account.example/another/path").has_value();
       }},
      {"a task",
       [&] {
         auto held = std::make_shared<int>(0);
         PellixPlatform::DispatchQueue queue;
         queue.post([held, more = std::string(100, 'x')] { ++*held; });
         return queue.runPending() == 1 && *held == 1;
       }},
  };
  for (const auto& work : works) {
    ASSERT_TRUE(work.isRight()) << work.name;
    failEveryAllocation(work.name, [&](std::size_t n, Shortage shortage) {
      const auto before = Support::liveAllocations();
      bool isRight = false;
      Support::beginFailingAllocations(n, shortage);
      const bool returned = isCompleted([&] { isRight = work.isRight(); });
      const bool failed = Support::endFailingAllocations();
      EXPECT_TRUE(isRight || (failed && !returned)) << work.name;
      EXPECT_TRUE(work.isRight());
      EXPECT_EQ(Support::liveAllocations(), before);
      return failed;
    });
  }
}

struct Operation {
  const char* name;
  void (*start)(PellixProvider& provider, Ending& ending);
};

constexpr Operation operations[] = {
    {"query",
     [](PellixProvider& provider, Ending& ending) {
       auto callback = ending.callback();  // before there is any other argument
       provider.getDeflectionForQuery("How do I reset my password?", std::move(callback));
     }},
    {"resolve",
     [](PellixProvider& provider, Ending& ending) {
       auto callback = ending.callback();
       provider.resolveWithArticle(7, 4711, "a token that is long enough", std::move(callback));
     }},
    {"reject",
     [](PellixProvider& provider, Ending& ending) {
       auto callback = ending.callback();
       provider.rejectWithArticle(7, 4711, "a token that is long enough",
                                  PellixProvidersSDK::RejectionReason::reason1,
                                  std::move(callback));
     }},
};

/// How the service answers, and whether it has been asked for settings before.
struct Course {
  const char* name;
  bool isSettled;
  const char* settings;
  int status;
};

constexpr Course courses[] = {
    {"settings at hand", true, settings, 200},
    {"settings fetched", false, settings, 200},
    {"disabled", false, R"({"pellix":{"enabled":false}})", 200},
    {"an HTTP error", true, settings, 500},
    {"no connection", true, settings, 0},
};

std::shared_ptr<ScriptedTransport> transportFor(const Course& course) {
  using namespace QuorvelCoreSDK::ServicePaths;
  auto transport = std::make_shared<ScriptedTransport>();
  transport->answer(std::string(knowledgeSettings), 200, R"({"locale":"de"})");
  transport->answer(std::string(accountSettings), 200, course.settings);
  for (const auto path : {"/resolutions", "/rejections", "/interactions"}) {
    if (course.status != 0) transport->answer(path, course.status, PellixTests::responseJSON());
  }
  return transport;
}

/// Runs whatever waits. What memory is missing for has ended, and the rest goes on.
void settle(ScriptedTransport& transport) {
  for (int i = 0; i < 100; ++i) {  // not for ever: there may be no memory for the queue itself
    if (isCompleted([&] { transport.settle(); })) return;
  }
}

/// One operation with an allocation that fails, and the next one without; whether one failed.
bool runOperation(const Operation& operation, const Course& course, std::size_t n,
                  Shortage shortage) {
  const auto transport = transportFor(course);
  const auto provider = setUp("https://acme.example", {.transport = transport});
  const auto askAgain = [&] {
    Ending ending;
    operation.start(*provider, ending);
    settle(*transport);
    return ending.calls == 1 && ending.releases == 1;
  };
  EXPECT_TRUE(!course.isSettled || askAgain());
  Ending ending;
  Support::beginFailingAllocations(n, shortage);
  static_cast<void>(isCompleted([&] { operation.start(*provider, ending); }));
  settle(*transport);
  const bool failed = Support::endFailingAllocations();
  settle(*transport);
  EXPECT_LE(ending.calls, 1);
  EXPECT_EQ(ending.releases, 1);
  EXPECT_TRUE(failed || ending.calls == 1);
  EXPECT_TRUE(askAgain());
  // The facade keeps the last application, with what its transport has sent.
  setUp("https://acme.example", {.transport = std::make_shared<ScriptedTransport>()});
  return failed;
}

/// A queue of libc++ keeps a block that it has emptied, now and then.
#ifdef _LIBCPP_VERSION
constexpr std::ptrdiff_t spareBlocks = 1;
#else
constexpr std::ptrdiff_t spareBlocks = 0;
#endif

TEST(Memory, ThatRunsOutEndsAnOperationAndReleasesItsCallbackOnce) {
  QuorvelCoreSDK::CoreLogger::setLevel(QuorvelCoreSDK::LogLevel::off);
  for (const auto& operation : operations) {
    for (const auto& course : courses) {
      for (int i = 0; i < 2; ++i) runOperation(operation, course, 1'000'000, Shortage::passing);
      const auto name = std::string(operation.name) + ", " + course.name;
      const auto before = Support::liveAllocations();
      failEveryAllocation(name, [&](std::size_t n, Shortage shortage) {
        const bool failed = runOperation(operation, course, n, shortage);
        EXPECT_GE(Support::liveAllocations(), before);
        EXPECT_LE(Support::liveAllocations(), before + spareBlocks);
        return failed;
      });
    }
  }
}

/// Sets up the library and asks the first question of a process, all with an allocation that fails;
/// then once more. What is made once for a process is made here.
void beginAProcess(std::size_t n, Shortage shortage, int report) {
  QuorvelCoreSDK::CoreLogger::setLevel(QuorvelCoreSDK::LogLevel::off);
  const auto transport = transportFor(courses[1]);
  Ending ending;
  bool isAsked = false;
  Support::beginFailingAllocations(n, shortage);
  static_cast<void>(isCompleted([&] {
    const auto provider = setUp("https://acme.example", {.transport = transport});
    isAsked = true;
    operations[0].start(*provider, ending);
  }));
  settle(*transport);
  const bool failed = Support::endFailingAllocations();
  settle(*transport);
  const bool isEnded = !isAsked || (ending.calls <= 1 && ending.releases == 1);
  const auto provider = setUp("https://acme.example", {.transport = transport});
  Ending second;
  operations[0].start(*provider, second);
  settle(*transport);
  const char result = !isEnded ? 'e' : second.records != 1 ? 's' : failed ? 'f' : '.';
  if (write(report, &result, 1) != 1) std::abort();
}

TEST(Memory, ThatRunsOutAtTheStartOfAProcessLeavesNothingSpoilt) {
  // But for what simdjson makes once, which nobody can make fail and live.
  ASSERT_TRUE(decodes(PellixTests::responseJSON()));
  failEveryAllocation("a process's start", [&](std::size_t n, Shortage shortage) {
    int ends[2];
    if (pipe(ends) != 0) return false;
    const auto child = fork();
    if (child == 0) {
      beginAProcess(n, shortage, ends[1]);
      _exit(0);
    }
    close(ends[1]);
    char result = '?';
    EXPECT_EQ(read(ends[0], &result, 1), 1);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(result == 'f' || result == '.') << result;
    return result == 'f';
  });
}

}  // namespace
}  // namespace LifecycleTests
