#include "Lifecycle/Application.h"
#include "Support/LoopbackServer.h"
#include "Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <future>
#include <stdexcept>

/// What goes away while questions are under way, over the real transport and its thread.
namespace LifecycleTests {
namespace {

using PellixPlatform::DispatchQueue;
using QuorvelCoreSDK::Transport;
using Support::LoopbackReply;
using Support::LoopbackServer;

/// A service whose answer to a question waits for `letGo`.
class Service {
 public:
  explicit Service(std::string accountSettings = settings,
                   LoopbackReply::Then then = LoopbackReply::Then::keep)
      : accountSettings_(std::move(accountSettings)), then_(then) {}

  [[nodiscard]] std::string origin() const { return server_.origin(); }
  void waitForQuestion() { asked_.get_future().wait(); }
  void letGo() { gate_.set_value(); }

 private:
  LoopbackReply answer(const Support::LoopbackRequest& request) {
    if (!request.head.starts_with("POST ")) {
      return {Support::httpReply("200 OK", accountSettings_), LoopbackReply::Then::keep};
    }
    asked_.set_value();
    open_.wait();
    const bool isAnswered = then_ == LoopbackReply::Then::keep;
    return {isAnswered ? Support::httpReply("200 OK", PellixTests::responseJSON()) : "", then_};
  }

  const std::string accountSettings_;
  const LoopbackReply::Then then_;
  std::promise<void> asked_;
  std::promise<void> gate_;
  const std::shared_future<void> open_ = gate_.get_future().share();
  const LoopbackServer server_{[this](const auto& request) { return answer(request); }};
};

void stopTheQueue() {
  DispatchQueue::main().stop();
}

TEST(Replacement, EndsAQuestionUnlessTheHostKeepsItsProvider) {
  for (const bool isKept : {false, true}) {
    Service service;
    auto provider = setUp(service.origin(), {});
    const std::weak_ptr<PellixProvider> watch = provider;
    Ending ending;
    provider->getDeflectionForQuery("How?", ending.callback(stopTheQueue));
    service.waitForQuestion();
    if (!isKept) provider.reset();
    const auto later = setUp("http://127.0.0.1:9", {});
    EXPECT_EQ(Pellix::instance()->provider(), later);
    EXPECT_EQ(watch.expired(), !isKept);
    EXPECT_EQ(ending.releases, 0);
    service.letGo();
    DispatchQueue::main().run();
    EXPECT_EQ(ending.records, isKept ? 1 : 0);
    EXPECT_EQ(ending.calls, ending.records);
    EXPECT_EQ(ending.releases, 1);
  }
}

TEST(Callback, MayDropTheLastReferencesOnTheMainQueueAndOnTheWorker) {
  for (const bool isEnabled : {true, false}) {
    Service service(isEnabled ? settings : R"({"pellix":{"enabled":false},"locale":"de"})");
    service.letGo();
    auto provider = setUp(service.origin(), {});
    const std::weak_ptr<PellixProvider> watch = provider;
    std::weak_ptr<const PellixProvidersSDK::DeflectionArticle> article;
    std::thread::id thread;
    // On the worker, the facade is replaced before: only one thread at a time may set up.
    if (!isEnabled) {
      setUp("http://127.0.0.1:9", {});
      QuorvelCoreSDK::Quorvel::initialize({service.origin(), "the gate's", "client"}).value();
    }
    auto* const asked = provider.get();
    asked->getDeflectionForQuery(
        "How?",
        [&, end = std::shared_ptr<void>(nullptr, [](void*) { stopTheQueue(); })](auto result) {
          thread = std::this_thread::get_id();
          EXPECT_EQ(result.has_value(), isEnabled);
          if (result) article = (*result)->deflectionArticles().front();
          EXPECT_EQ(article.expired(), !isEnabled);
          result = std::unexpected(PellixPlatform::Error("none", 0));
          EXPECT_TRUE(article.expired());
          if (isEnabled) setUp("http://127.0.0.1:9", {});
          provider.reset();
        });
    DispatchQueue::main().run();
    std::promise<void> after;  // the step that called the callback holds the provider to its end
    Quorvel::instance()->post([&] { after.set_value(); });
    after.get_future().wait();
    EXPECT_TRUE(watch.expired());
    EXPECT_EQ(thread == std::this_thread::get_id(), isEnabled);
  }
}

TEST(Callback, ThatThrowsOnTheMainQueuePassesOutAndLeavesTheRestUsable) {
  Service service;
  service.letGo();
  const auto provider = setUp(service.origin(), {});
  Ending ending;
  provider->getDeflectionForQuery("How?", [&, kept = ending.callback()](const auto& result) {
    kept(result);
    throw std::runtime_error("the host's own");
  });
  EXPECT_THROW(DispatchQueue::main().run(), std::runtime_error);
  EXPECT_EQ(ending.calls, 1);
  EXPECT_EQ(ending.releases, 1);
  bool isRun = false;
  DispatchQueue::main().post([&] { isRun = true; });
  EXPECT_EQ(DispatchQueue::main().runPending(), 1U);
  EXPECT_TRUE(isRun);
}

TEST(Callback, ThatThrowsOnTheWorkerEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        Service service(R"({"pellix":{"enabled":false},"locale":"de"})");
        setUp(service.origin(), {})->getDeflectionForQuery("How?", [](const auto&) {
          throw std::runtime_error("the host's own");
        });
        DispatchQueue::main().run();
      },
      testing::KilledBySignal(SIGABRT), "the host's own");
}

TEST(Signal, OfABrokenPipeDoesNotEndTheProcess) {
  ASSERT_NE(std::signal(SIGPIPE, SIG_DFL), SIG_ERR);
  // The service resets each connection on which it has answered a question, and at times the next
  // question is written to it before that is noticed.
  QuorvelCoreSDK::CoreLogger::setLevel(QuorvelCoreSDK::LogLevel::off);
  const auto identity = Support::makeIdentity({});
  const LoopbackServer server(
      [](const auto& request) {
        if (request.body.empty()) return LoopbackReply{Support::httpReply("200 OK", settings)};
        return LoopbackReply{Support::httpReply("200 OK", PellixTests::responseJSON()),
                             LoopbackReply::Then::reset};
      },
      {.identity = identity});
  const Support::TemporaryDirectory directory;
  directory.write("trusted.pem", identity.certificate);
  const auto provider = setUp(
      server.origin(), {.network = {.certificateAuthorities = directory.path() / "trusted.pem"}});
  int calls = 0;
  for (int i = 0; i < 50; ++i) {
    Ending ending;
    provider->getDeflectionForQuery("How?", ending.callback(stopTheQueue));
    DispatchQueue::main().run();
    calls += ending.calls;
  }
  EXPECT_EQ(calls, 50);
}

}  // namespace
}  // namespace LifecycleTests
