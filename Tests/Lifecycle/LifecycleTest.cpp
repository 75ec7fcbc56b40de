#include "PellixProvidersSDK/Host.h"

#include <gtest/gtest.h>

#include <future>
#include <stdexcept>
#include <thread>

/// What goes away while questions are under way.
namespace LifecycleTests {
namespace {

using namespace PellixTests;
using PellixPlatform::DispatchQueue;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""min;

TEST(Replacement, LetsAQuestionGoOnWhoseProviderTheHostKeeps) {
  const auto transport = serviceWith();
  const auto provider = setUp({.transport = transport});
  Outcome outcome;
  query.start(*provider, outcome);
  transport->run();
  EXPECT_NE(setUp({.transport = serviceWith()}), provider);
  DispatchQueue::main().runPending();
  EXPECT_EQ(outcome.ending(), answered);
}

TEST(Callback, MayDropTheLastReferencesOnTheMainQueueAndOnTheWorker) {
  for (const char* settings : {enabled, disabled}) {
    const auto transport = serviceWith(settings);
    auto provider = setUp({.transport = transport});
    const std::weak_ptr<PellixProvider> watch = provider;
    int calls = 0;
    provider->getDeflectionForQuery("How?", [&](auto result) {
      ++calls;
      EXPECT_EQ(result.has_value(), settings == enabled);
      std::weak_ptr<const PellixProvidersSDK::DeflectionArticle> article;
      if (result) article = (*result)->deflectionArticles().front();
      result = std::unexpected(PellixPlatform::Error("none", 0));
      EXPECT_TRUE(article.expired());
      setUp({.transport = serviceWith()});
      provider.reset();
    });
    transport->settle();
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(watch.expired());
  }
}

TEST(Callback, ThatThrowsOnTheMainQueuePassesOutAndLeavesTheRestUsable) {
  const auto transport = serviceWith();
  const auto provider = setUp({.transport = transport});
  Outcome outcome;
  provider->getDeflectionForQuery("How?", [&, kept = outcome.callback()](const auto& result) {
    kept(result);
    throw std::runtime_error("the host's own");
  });
  transport->run();
  EXPECT_THROW(DispatchQueue::main().run(), std::runtime_error);
  EXPECT_EQ(outcome.ending(), answered);
  DispatchQueue::main().post([] {});
  EXPECT_EQ(DispatchQueue::main().runPending(), 1U);
}

TEST(ShutDown, ReleasesWhatWaitsForTheServiceAndInTheMainQueue) {
  enum class Stage : std::uint8_t { settings, question, answer };
  for (const auto stage : {Stage::settings, Stage::question, Stage::answer}) {
    const auto transport = serviceWith();
    const auto provider = setUp({.transport = transport});
    if (stage == Stage::question) {  // whose settings are at hand
      Outcome first;
      query.start(*provider, first);
      transport->settle();
    }
    Outcome before;
    query.start(*provider, before);
    resolution.start(*provider, before);
    if (stage == Stage::answer) transport->run();
    EXPECT_TRUE(Quorvel::shutDown(0ms));
    Quorvel::instance()->post([] {});
    EXPECT_EQ(Quorvel::instance()->waitUntilIdle(0ms), stage == Stage::answer);
    DispatchQueue::main().runPending();
    EXPECT_EQ(before.ending(), "silence");
    const auto sent = transport->requests().size();
    DispatchQueue::main().setWakeHook([] { ADD_FAILURE() << "woken for nothing"; });
    Outcome later;
    query.start(*provider, later);
    transport->settle();
    EXPECT_EQ(transport->requests().size(), sent);
    EXPECT_EQ(later.ending(), "silence");

    DispatchQueue::main().setWakeHook(nullptr);
    ASSERT_TRUE(makeQuorvel({.transport = transport}));
    Outcome again;
    query.start(*provider, again);
    transport->settle();
    EXPECT_EQ(again.ending(), answered);
  }
}

TEST(ShutDown, IsCalledByWhatItReleasesAndLeavesAloneWhatBeginsThen) {
  const auto transport = serviceWith();
  const auto provider = setUp({.transport = transport});
  Outcome before;
  Outcome later;
  before.onRelease = [&] {
    EXPECT_TRUE(Quorvel::shutDown(0ms));  // which releases the other one
    if (before.releases < 2 || later.begun > 0) return;
    makeQuorvel({.transport = transport});
    query.start(*provider, later);
  };
  resolution.start(*provider, before);
  rejection.start(*provider, before);
  EXPECT_TRUE(Quorvel::shutDown(0ms));
  transport->settle();
  EXPECT_EQ(later.ending(), answered);
}

TEST(ShutDown, WaitsForTheHostsCodeOnOtherThreadsAndNotForItsOwn) {
  for (const std::string_view place : {"callback", "supplier", "sink"}) {
    std::promise<void> called;
    std::promise<void> mayReturn;
    const auto hold = [&](std::string_view here) {
      if (here != place) return;
      called.set_value();
      mayReturn.get_future().wait();
      EXPECT_TRUE(Quorvel::shutDown(1min));
    };
    const auto transport = serviceWith(place == "supplier" ? enabled : disabled);
    const auto provider = setUp({.token =
                                     [&] {
                                       hold("supplier");
                                       return "secret";
                                     },
                                 .transport = transport});
    QuorvelCoreSDK::CoreLogger::setSink([&](auto, auto) { hold("sink"); });
    Outcome outcome;
    provider->getDeflectionForQuery(
        "How?", [&, kept = outcome.callback()](const auto&) { hold("callback"); });
    std::thread worker([&] { transport->run(); });
    called.get_future().wait();
    EXPECT_FALSE(Quorvel::shutDown(0ms));
    mayReturn.set_value();
    EXPECT_TRUE(Quorvel::shutDown(1min));
    EXPECT_EQ(outcome.releases, 1);
    worker.join();
    QuorvelCoreSDK::CoreLogger::setSink(nullptr);
  }
}

}  // namespace
}  // namespace LifecycleTests
