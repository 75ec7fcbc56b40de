#include "PellixProvidersSDK/Host.h"
#include "Support/ChildProcess.h"

#include <gmock/gmock.h>

#include <functional>

namespace PellixTests {
namespace {

using PellixProvidersSDK::PellixProviderProtocol;

/// Lets what `host` has in flight run on a thread of its own.
std::thread::id runElsewhere(const Host& host) {
  std::thread thread([&] { host.transport->run(); });
  const auto id = thread.get_id();
  thread.join();
  return id;
}

TEST(Callback, GetsResultsOnTheMainQueue) {
  struct Case {
    const char* what;
    TransportReply reply;
    std::string expected;
  };
  const Case cases[] = {
      {"response", reply(200, responseJSON()), "response 7"},
      {"HTTP error", reply(404, "{}"), "com.pellix.providers 404"},
      {"decoder's error", reply(200, "[]"), "Platform.DecodingError 3"},
      {"transport error",
       {.error = PellixPlatform::Error("host.transport", 1)},
       "host.transport 1"},
  };
  for (const auto& each : cases) {
    const Host host;
    host.transport->answer(std::string(queryPath),
                           [&](const TransportRequest&) { return each.reply; });
    Outcome outcome;
    host.ask(outcome);
    runElsewhere(host);
    EXPECT_EQ(outcome.text(), "still held, silence") << each.what;
    PellixPlatform::DispatchQueue::main().runPending();
    EXPECT_EQ(outcome.text(), each.expected) << each.what;
    EXPECT_EQ(outcome.thread, std::this_thread::get_id()) << each.what;
  }
}

TEST(Callback, HearsThatTheFeatureIsDisabledWhereTheSettingsArrive) {
  const Host host;
  host.transport->answer(std::string(accountSettings), 200, disabled);
  Outcome elsewhere;
  host.ask(elsewhere);
  const auto thread = runElsewhere(host);
  EXPECT_EQ(elsewhere.text(), "QV_Pellix_Disabled 1006");
  EXPECT_EQ(elsewhere.thread, thread);

  // By now all that it takes is at hand.
  host.veltrane->setLumenoLocaleOverride("fr");
  Outcome within;
  host.ask(within);
  EXPECT_EQ(within.text(), "QV_Pellix_Disabled 1006");
  EXPECT_EQ(within.thread, std::this_thread::get_id());
}

TEST(Callback, MayAskTheNextQuestion) {
  const Host host;
  Outcome second;
  host.provider->getDeflectionForQuery("first", [&](const auto&) { host.ask(second); });
  Support::settle(*host.transport);
  EXPECT_EQ(second.text(), "response 7");
}

int successes = 0;
int failures = 0;

void countResult(const QueryResult& result) {
  ++(result ? successes : failures);
}

void countOptionals(const std::shared_ptr<const DeflectionResponse>& response,
                    const std::optional<PellixPlatform::Error>& error) {
  if (response && !error) ++successes;
  if (!response && error) ++failures;
}

void countFor(int times, const QueryResult& result) {
  for (int i = 0; i < times; ++i) countResult(result);
}

void countOptionalsFor(int times, const std::shared_ptr<const DeflectionResponse>& response,
                       const std::optional<PellixPlatform::Error>& error) {
  for (int i = 0; i < times; ++i) countOptionals(response, error);
}

/// With a callback of every kind, one argument and two in turns.
void askInEveryForm(PellixProvider& to) {
  to.getDeflectionForQuery("q", [](const QueryResult& result) { countResult(result); });
  to.getDeflectionForQuery(
      "q", [](const std::shared_ptr<const DeflectionResponse>& response,
              std::optional<PellixPlatform::Error> error) { countOptionals(response, error); });
  to.getDeflectionForQuery("q", [](const auto& result) { countResult(result); });
  to.getDeflectionForQuery("q", [](auto response, auto error) { countOptionals(response, error); });
  to.getDeflectionForQuery("q", [n = 1](auto&& result) mutable { countFor(n--, result); });
  to.getDeflectionForQuery(
      "q", [n = 1](auto response, auto error) mutable { countOptionalsFor(n--, response, error); });
  to.getDeflectionForQuery("q", countResult);
  to.getDeflectionForQuery("q", countOptionals);
  to.getDeflectionForQuery("q", std::bind_front(countFor, 1));
  to.getDeflectionForQuery("q", std::bind_front(countOptionalsFor, 1));
  to.getDeflectionForQuery("q", QueryCallback(countResult));
  to.getDeflectionForQuery("q", QueryOptionalsCallback(countOptionals));
  PellixProviderProtocol& protocol = to;
  protocol.getDeflectionForQuery("q", countResult);
}

TEST(Callback, MayHaveEitherForm) {
  const Host host;
  successes = failures = 0;
  askInEveryForm(*host.provider);
  Support::settle(*host.transport);
  EXPECT_EQ(successes, 13);
  EXPECT_EQ(failures, 0);

  host.transport->answer(std::string(queryPath), 500, "");
  askInEveryForm(*host.provider);
  Support::settle(*host.transport);
  EXPECT_EQ(successes, 13);
  EXPECT_EQ(failures, 13);
}

TEST(Callback, MayBeEmpty) {
  const Host host;
  host.provider->getDeflectionForQuery("q", QueryCallback());
  host.provider->getDeflectionForQuery("q", QueryOptionalsCallback());
  Support::settle(*host.transport);
  EXPECT_EQ(host.sentQueries(), 2U);

  const Host other(std::make_shared<OwnSettings>(disabled));
  other.provider->getDeflectionForQuery("q", QueryCallback());
  other.provider->getDeflectionForQuery("q", QueryOptionalsCallback());
  Support::settle(*other.transport);
  EXPECT_EQ(other.sentQueries(), 0U);
}

TEST(Callback, InTheOtherFormIsReleasedToo) {
  for (const char* settings : {enabled, disabled}) {
    for (const int status : {200, 204, 404}) {
      const Host host;
      host.transport->answer(std::string(accountSettings), 200, settings);
      host.transport->answer(std::string(queryPath), status, status == 200 ? responseJSON() : "");
      auto held = std::make_shared<int>(0);
      const std::weak_ptr<int> watch = held;
      host.provider->getDeflectionForQuery(
          "q", [held = std::move(held)](const auto&, const auto&) { EXPECT_LE(++*held, 1); });
      EXPECT_FALSE(watch.expired());
      Support::settle(*host.transport);
      EXPECT_TRUE(watch.expired()) << settings << status;
    }
  }
}

TEST(Callback, IsCalledOnceAndReleasedEvenIfTheSettingsServiceIsAtFault) {
  const struct {
    const char* document;
    std::string expected;
    std::size_t sentQueries;
  } cases[] = {{enabled, "response 7", 1}, {disabled, "QV_Pellix_Disabled 1006", 0}};
  for (const auto& [document, expected, sentQueries] : cases) {
    const auto settings = std::make_shared<OwnSettings>(document);
    settings->answers = 2;
    settings->keepsContinuations = true;
    const Host host(settings);
    EXPECT_EQ(host.outcomeOf(), expected);
    EXPECT_EQ(host.sentQueries(), sentQueries);
  }
}

TEST(Callback, IsReleasedAtItsEndAndNotLater) {
  // Within the settings service, which has not yet returned from its continuation's caller.
  const auto settings = std::make_shared<OwnSettings>(disabled);
  const Host host(settings);
  Outcome outcome;
  std::string atTheEnd;
  settings->afterAnswer = [&] { atTheEnd = outcome.text(); };
  host.ask(outcome);
  Support::settle(*host.transport);
  EXPECT_EQ(atTheEnd, "QV_Pellix_Disabled 1006");

  const Host other;
  other.provider->getDeflectionForQuery("q", outcome.callback());
  other.transport->run();
  PellixPlatform::DispatchQueue::main().post([&] { atTheEnd = outcome.text(); });
  outcome.results.clear();
  PellixPlatform::DispatchQueue::main().runPending();
  EXPECT_EQ(atTheEnd, "response 7");
}

TEST(Callback, IsReleasedSilentlyIfTheProviderGoesMeanwhile) {
  // The last stage is when the answer waits in the main queue.
  const std::string_view stages[] = {knowledgeSettings, accountSettings, queryPath, "main queue"};
  for (const auto stage : stages) {
    const auto other = Host::makeQuorvel(nullptr);
    Host host;
    const std::weak_ptr<PellixProvider> watch = host.provider;
    const auto letGo = [&] {
      host.provider.reset();
      Pellix::initialize(other, host.veltrane);  // which replaces the facade
      EXPECT_TRUE(watch.expired()) << stage;
    };
    host.transport->answer(std::string(stage), [&](const TransportRequest&) {
      letGo();
      return reply(200, stage == knowledgeSettings ? R"({"locale":"de"})"
                        : stage == accountSettings ? enabled
                                                   : responseJSON());
    });
    Outcome outcome;
    host.ask(outcome);
    host.transport->run();
    if (!watch.expired()) letGo();
    PellixPlatform::DispatchQueue::main().runPending();
    EXPECT_EQ(outcome.text(), "silence") << stage;
    EXPECT_EQ(host.requestedPaths().back(), stage == "main queue" ? queryPath : stage);
  }
}

TEST(Callback, MayLetGoOfTheProvider) {
  for (const char* settings : {enabled, disabled}) {
    const auto other = Host::makeQuorvel(nullptr);
    Host host;
    host.transport->answer(std::string(accountSettings), 200, settings);
    const std::weak_ptr<PellixProvider> watch = host.provider;
    int calls = 0;
    host.provider->getDeflectionForQuery("q", [&](const auto&) {
      ++calls;
      host.provider.reset();
      Pellix::initialize(other, host.veltrane);
    });
    Support::settle(*host.transport);
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(watch.expired());
  }
}

TEST(Callback, IsReleasedWithARequestThatIsLost) {
  const Host host;
  host.transport->ignore(std::string(queryPath));
  Outcome outcome;
  host.ask(outcome);
  Support::settle(*host.transport);
  EXPECT_EQ(outcome.text(), "still held, silence");
  host.transport->drop();
  EXPECT_EQ(outcome.text(), "silence");
}

TEST(Callback, OfOneQueryHasNothingToDoWithAnothers) {
  const Host host;
  host.transport->answer(std::string(queryPath), [](const TransportRequest& request) {
    const bool isSecond = request.body->find("second") != std::string::npos;
    return isSecond ? reply(404, {}) : reply(200, responseJSON());
  });
  Outcome first;
  Outcome second;
  Outcome third;
  host.ask(first, "first");
  host.ask(second, "second");
  host.ask(third, "third");
  Support::settle(*host.transport);
  EXPECT_EQ(first.text(), "response 7");
  EXPECT_EQ(second.text(), "com.pellix.providers 404");
  EXPECT_EQ(third.text(), "response 7");
}

}  // namespace
}  // namespace PellixTests
