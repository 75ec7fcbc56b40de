#include "PellixProvidersSDK/Host.h"
#include "Support/StandardOutput.h"

#include <gmock/gmock.h>

namespace PellixTests {
namespace {

const PellixPlatform::Error transportError("host.transport", -7, {{"reason", "it rained"}});
const std::string rained = "host.transport -7 reason=it rained";

/// Lets what `host` has in flight run on a thread of its own.
std::thread::id runElsewhere(const Host& host) {
  std::thread thread([&] { host.transport->run(); });
  const auto id = thread.get_id();
  thread.join();
  return id;
}

std::string httpError(int status, const std::string& text) {
  const auto code = std::to_string(status);
  return "com.pellix.providers " + code + " NSLocalizedDescriptionKey=" + text +
         " status_code=HTTP Error: " + code;
}

TEST(Operations, EndAsTheirStagesDo) {
  struct Case {
    std::string ofQuery;
    std::string ofReport;
    TransportReply reply;
  };
  const auto response = responseJSON();
  const auto file = std::make_shared<const PellixPlatform::URLResponse>("file:a");
  const Case cases[] = {
      {rained, rained, {.error = transportError}},
      {rained, rained, reply(200, response, transportError)},
      {rained, rained, reply(503, {}, transportError)},
      {"silence", "silence", {.data = response}},
      {"silence", "silence", {.data = response, .response = file}},
      {"silence", "reply 204 without a body", reply(204, std::nullopt)},
      {"silence", "reply 200 without a body", reply(200, "")},
      {"Platform.DecodingError 1 deflection", "reply 200 with {}", reply(200, "{}")},
      {"Platform.DecodingError 5", "reply 201 with <html>", reply(201, "<html>")},
      {"response 7 11 -12", "reply 200 with " + response, reply(200, response)},
      {"response 7 11 -12", "reply 299 with " + response, reply(299, response)},
      {httpError(100, "Continue"), "", reply(100, {})},
      {httpError(199, "Unknown status"), "", reply(199, response)},
      {httpError(300, "Multiple Choices"), "", reply(300, response)},
      {httpError(404, "Not Found"), "", reply(404, "{}")},
      {httpError(500, "Internal Server Error"), "", reply(500, {})},
      {httpError(999, "Unknown status"), "", reply(999, response)},
  };
  for (const auto& [ofQuery, ofReport, answer] : cases) {
    for (const auto& operation : operations) {
      const Host host;
      SCOPED_TRACE(operation.name + (": " + ofQuery));
      host.transport->answer(std::string(operation.path),
                             [&](const TransportRequest&) { return answer; });
      Outcome outcome;
      operation.start(*host.provider, outcome);
      runElsewhere(host);
      EXPECT_EQ(outcome.text(), "still held, silence");
      PellixPlatform::DispatchQueue::main().runPending();
      const bool isQuery = operation.path == queryPath;
      EXPECT_EQ(outcome.text(), isQuery || ofReport.empty() ? ofQuery : ofReport);
      EXPECT_TRUE(outcome.text() == "silence" || outcome.thread == std::this_thread::get_id());
      EXPECT_EQ(host.transport->requests(operation.path).size(), 1U);
      // Whatever becomes of the report.
      EXPECT_EQ(host.transport->requests(votePath).size(), operation.path == resolvePath ? 1U : 0U);
    }
  }
}

TEST(Operations, SayThatTheFeatureIsDisabledWhereTheSettingsArrive) {
  const std::pair<int, const char*> cases[] = {{200, disabled}, {200, "{}"}, {500, enabled}};
  for (const auto& [status, document] : cases) {
    for (const auto& operation : operations) {
      Host host;
      SCOPED_TRACE(operation.name);
      host.transport->answer(std::string(accountSettings), status, document);
      Outcome outcome;
      operation.start(*host.provider, outcome);
      const auto thread = runElsewhere(host);
      EXPECT_EQ(outcome.text(), isDisabled);
      EXPECT_EQ(outcome.thread, thread);
      EXPECT_EQ(host.requestedPaths().back(), accountSettings);  // and nothing after that
      const auto lines = host.newLines();
      ASSERT_GE(lines.size(), 2U);
      EXPECT_EQ(lines.back(), "info: called");
      EXPECT_EQ(lines[lines.size() - 2], "warn: Pellix is disabled at account level.");
    }
  }
}

TEST(Operations, TakeEmptyCallbacks) {
  for (const char* settings : {enabled, disabled}) {
    const Host host(std::make_shared<OwnSettings>(settings));
    host.provider->getDeflectionForQuery("q", ResultCallback<DeflectionResponse>());
    host.provider->getDeflectionForQuery("q", OptionalsCallback<DeflectionResponse>());
    host.provider->resolveWithArticle(1, 2, "t", ResultCallback<PellixDispatcherResponse>());
    host.provider->resolveWithArticle(1, 2, "t", OptionalsCallback<PellixDispatcherResponse>());
    host.transport->settle();
    EXPECT_EQ(host.transport->requests(queryPath).size(), settings == enabled ? 2U : 0U);
    EXPECT_EQ(host.transport->requests(resolvePath).size(), settings == enabled ? 2U : 0U);
  }
}

TEST(Operations, CallBackOnceAndLetGoEvenIfTheSettingsServiceIsAtFault) {
  for (const char* document : {enabled, disabled}) {
    for (const auto& operation : operations) {
      const auto settings = std::make_shared<OwnSettings>(document);
      settings->answers = 2;
      settings->keepsContinuations = true;
      const Host host(settings);
      const bool isQuery = operation.path == queryPath;
      const auto success = isQuery ? "response 7 11 -12" : "reply 200 with " + responseJSON();
      EXPECT_EQ(host.outcomeOf(operation), document == enabled ? success : isDisabled);
      EXPECT_EQ(host.transport->requests(operation.path).size(), document == enabled ? 1U : 0U);
    }
  }
}

TEST(Operations, LetGoOfTheirCallbackAtTheirEndAndNotLater) {
  for (const auto& operation : operations) {
    SCOPED_TRACE(operation.name);
    std::string atTheEnd;
    for (const char* settings : {disabled, static_cast<const char*>(nullptr)}) {
      // Within the settings service, which has not yet returned from its continuation's call, and
      // within the operation's own, for all is at hand.
      const auto service = std::make_shared<OwnSettings>(settings);
      const Host host(service);
      host.veltrane->setLumenoLocaleOverride("fr");
      Outcome outcome;
      service->afterAnswer = [&] { atTheEnd = outcome.text(); };
      operation.start(*host.provider, outcome);
      EXPECT_EQ(std::exchange(atTheEnd, ""), isDisabled);
      EXPECT_TRUE(host.requestedPaths().empty());
    }
    const Host host;
    Outcome outcome;
    operation.start(*host.provider, outcome);
    host.transport->run();
    PellixPlatform::DispatchQueue::main().post([&] { atTheEnd = outcome.text(); });
    PellixPlatform::DispatchQueue::main().runPending();
    EXPECT_THAT(atTheEnd, testing::MatchesRegex("(response 7|reply 200).*"));
  }
}

TEST(Operations, EndSilentlyIfTheirBodyCanNotBeEncodedUnlessTheFeatureIsDisabled) {
  const std::string ofQuery = "Error: [^\n]*enquiry[^\n]*\n";
  const std::string ofReport = "Error: [^\n]*interaction_access_token[^\n]*\n";
  for (const char* settings : {enabled, disabled}) {
    Host host(std::make_shared<OwnSettings>(settings));
    host.veltrane->setLumenoLocaleOverride("fr");
    const Support::StandardOutput output;
    Outcome outcomes[3];
    host.ask(outcomes[0], "half a letter: \xC3");
    host.provider->resolveWithArticle(7, 4711, "\xFF", outcomes[1].callback());
    host.provider->rejectWithArticle(7, 4711, "\xFF", reason2, outcomes[2].callback());
    for (const auto& outcome : outcomes) {
      EXPECT_EQ(outcome.text(), settings == enabled ? "silence" : isDisabled);
    }
    EXPECT_TRUE(host.requestedPaths().empty());  // there is no vote either
    const bool isReported = settings == enabled;
    EXPECT_THAT(output.text(),
                testing::MatchesRegex(ofQuery + (isReported ? ofReport + ofReport : "")));
    EXPECT_THAT(host.newLines(), testing::Not(testing::Contains(testing::HasSubstr("encode"))));
  }
}

TEST(Operations, EndSilentlyIfTheProviderGoesMeanwhile) {
  // The last stage is when the answer waits in the main queue.
  for (const auto stage : {knowledgeSettings, accountSettings, std::string_view("the operation's"),
                           std::string_view("main queue")}) {
    for (const auto& operation : operations) {
      if (stage == knowledgeSettings && operation.path != queryPath) continue;
      SCOPED_TRACE(operation.name + (": " + std::string(stage)));
      const auto other = Host::makeQuorvel(nullptr);
      Host host;
      const std::weak_ptr<PellixProvider> watch = host.provider;
      const auto letGo = [&] {
        host.provider.reset();
        Pellix::initialize(other, host.veltrane);  // which replaces the facade
        EXPECT_TRUE(watch.expired());
      };
      const auto path = stage == "the operation's" ? operation.path : stage;
      host.transport->answer(std::string(path), [&](const TransportRequest&) {
        letGo();
        return reply(200, path == knowledgeSettings ? R"({"locale":"de"})"
                          : path == accountSettings ? enabled
                                                    : responseJSON());
      });
      Outcome outcome;
      operation.start(*host.provider, outcome);
      host.transport->run();
      if (!watch.expired()) letGo();
      PellixPlatform::DispatchQueue::main().runPending();
      EXPECT_EQ(outcome.text(), "silence");
      const bool isSent = path != knowledgeSettings && path != accountSettings;
      EXPECT_EQ(host.transport->requests(operation.path).size(), isSent ? 1U : 0U);
    }
  }
}

TEST(Operations, LetGoOfTheirCallbackWithARequestThatIsLost) {
  for (const auto& operation : operations) {
    const Host host;
    host.transport->ignore(std::string(operation.path));
    Outcome outcome;
    operation.start(*host.provider, outcome);
    host.transport->settle();
    EXPECT_EQ(outcome.text(), "still held, silence");
    host.transport->drop();
    EXPECT_EQ(outcome.text(), "silence");
  }
}

}  // namespace
}  // namespace PellixTests
