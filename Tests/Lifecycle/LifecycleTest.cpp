#include "Lifecycle/Application.h"

#include <gtest/gtest.h>

#include <future>
#include <stdexcept>
#include <thread>

/// What goes away while questions are under way.
namespace LifecycleTests {
namespace {

using PellixPlatform::DispatchQueue;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""min;

constexpr char address[] = "https://acme.example";
constexpr char disabled[] = R"({"pellix":{"enabled":false}})";

TEST(Replacement, EndsAQuestionUnlessTheHostKeepsItsProvider) {
  for (const bool isKept : {false, true}) {
    const auto transport = serviceWith(settings);
    auto provider = setUp(address, {.transport = transport});
    const std::weak_ptr<PellixProvider> watch = provider;
    Ending ending;
    provider->getDeflectionForQuery("How?", ending.callback());
    transport->run();
    if (!isKept) provider.reset();
    const auto later = setUp(address, {.transport = serviceWith(settings)});
    EXPECT_EQ(Pellix::instance()->provider(), later);
    EXPECT_EQ(watch.expired(), !isKept);
    EXPECT_EQ(ending.releases, 0);
    DispatchQueue::main().runPending();
    EXPECT_EQ(ending.calls, isKept ? 1 : 0);
    EXPECT_EQ(ending.releases, 1);
  }
}

TEST(Callback, MayDropTheLastReferencesOnTheMainQueueAndOnTheWorker) {
  for (const auto* accountSettings : {settings, disabled}) {
    const auto transport = serviceWith(accountSettings);
    auto provider = setUp(address, {.transport = transport});
    const std::weak_ptr<PellixProvider> watch = provider;
    int calls = 0;
    provider->getDeflectionForQuery("How?", [&](auto result) {
      ++calls;
      EXPECT_EQ(result.has_value(), accountSettings == settings);
      std::weak_ptr<const PellixProvidersSDK::DeflectionArticle> article;
      if (result) article = (*result)->deflectionArticles().front();
      result = std::unexpected(PellixPlatform::Error("none", 0));
      EXPECT_TRUE(article.expired());
      setUp(address, {.transport = serviceWith(settings)});
      provider.reset();
    });
    transport->settle();
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(watch.expired());
  }
}

TEST(Callback, ThatThrowsOnTheMainQueuePassesOutAndLeavesTheRestUsable) {
  const auto transport = serviceWith(settings);
  const auto provider = setUp(address, {.transport = transport});
  Ending ending;
  provider->getDeflectionForQuery("How?", [&, kept = ending.callback()](const auto& result) {
    kept(result);
    throw std::runtime_error("the host's own");
  });
  transport->run();
  EXPECT_THROW(DispatchQueue::main().run(), std::runtime_error);
  EXPECT_EQ(ending.calls, 1);
  EXPECT_EQ(ending.releases, 1);
  DispatchQueue::main().post([] {});
  EXPECT_EQ(DispatchQueue::main().runPending(), 1U);
}

TEST(ShutDown, ReleasesWhatWaitsForTheServiceAndInTheMainQueue) {
  for (const bool isAnswered : {false, true}) {
    const auto transport = serviceWith(settings);
    const auto provider = setUp(address, {.transport = transport});
    Ending before;
    provider->getDeflectionForQuery("How?", before.callback());
    provider->resolveWithArticle(1, 2, "token", before.callback());
    if (isAnswered) transport->run();
    EXPECT_TRUE(Quorvel::shutDown(0ms));
    EXPECT_EQ(before.releases, 2);
    DispatchQueue::main().runPending();
    const auto sent = transport->requests("").size();
    DispatchQueue::main().setWakeHook([] { ADD_FAILURE() << "woken for nothing"; });
    Ending later;
    provider->getDeflectionForQuery("How?", later.callback());
    transport->settle();
    EXPECT_EQ(transport->requests("").size(), sent);
    EXPECT_EQ(later.releases, 1);
    EXPECT_EQ(before.calls + later.calls, 0);

    DispatchQueue::main().setWakeHook(nullptr);
    ASSERT_TRUE(Quorvel::initialize({address, "again", "client"}, {.transport = transport}));
    Ending again;
    provider->getDeflectionForQuery("How?", again.callback());
    transport->settle();
    EXPECT_EQ(again.records, 1);
    EXPECT_EQ(again.releases, 1);
  }
}

TEST(ShutDown, WaitsForCallbacksOnOtherThreadsAndNotForItsOwn) {
  const auto transport = serviceWith(disabled);
  const auto provider = setUp(address, {.transport = transport});
  Ending ending;
  std::promise<void> called;
  std::promise<void> mayReturn;
  provider->getDeflectionForQuery("How?", [&, kept = ending.callback()](const auto&) {
    called.set_value();
    mayReturn.get_future().wait();
    EXPECT_TRUE(Quorvel::shutDown(1min));
  });
  std::thread worker([&] { transport->run(); });
  called.get_future().wait();
  EXPECT_FALSE(Quorvel::shutDown(0ms));
  EXPECT_EQ(ending.releases, 0);
  mayReturn.set_value();
  EXPECT_TRUE(Quorvel::shutDown(1min));
  EXPECT_EQ(ending.releases, 1);
  worker.join();
}

}  // namespace
}  // namespace LifecycleTests
