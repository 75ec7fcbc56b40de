#include "PellixProvidersSDK/Host.h"
#include "Support/StandardOutput.h"

#include <gmock/gmock.h>

#include <functional>
#include <limits>

namespace PellixTests {
namespace {

using PellixPlatform::DispatchQueue;
using testing::ElementsAreArray;

const PellixPlatform::Error transportError("host.transport", -7, {{"reason", "it rained"}});
const std::string rained = "host.transport -7 reason=it rained";
const std::string reported = "reply 200 with " + responseJSON();

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
  const std::map<std::string_view, std::vector<std::string_view>> requests{
      {queryPath, {knowledgeSettings, accountSettings, queryPath}},
      {resolvePath, {accountSettings, resolvePath, voteOf4711}},
      {rejectPath, {accountSettings, rejectPath}}};
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
      {answered, reported, reply(200, response)},
      {answered, "reply 299 with " + response, reply(299, response)},
      {httpError(199, "Unknown status"), "", reply(199, response)},
      {httpError(300, "Multiple Choices"), "", reply(300, {})},
      {httpError(500, "Internal Server Error"), "", reply(500, {})},
  };
  for (const auto& [ofQuery, ofReport, answer] : cases) {
    for (const auto& operation : operations) {
      const Host host;
      SCOPED_TRACE(ofQuery);
      host.transport->answer(std::string(operation.path),
                             [&](const TransportRequest&) { return answer; });
      Outcome outcome;
      operation.start(*host.provider, outcome);
      runElsewhere(host);
      EXPECT_EQ(outcome.ending(), "still held, silence");
      DispatchQueue::main().runPending();
      const bool isQuery = operation.path == queryPath;
      EXPECT_EQ(outcome.ending(), isQuery || ofReport.empty() ? ofQuery : ofReport);
      EXPECT_TRUE(outcome.calls == 0 || outcome.thread == std::this_thread::get_id());
      // The vote among them, whatever becomes of the report.
      EXPECT_THAT(host.requestedPaths(), ElementsAreArray(requests.at(operation.path)));
    }
  }
}

TEST(Operations, SayThatTheFeatureIsDisabledWhereTheSettingsArrive) {
  const std::pair<int, const char*> cases[] = {{200, disabled}, {200, "{}"}, {500, enabled}};
  for (const auto& [status, document] : cases) {
    for (const auto& operation : operations) {
      Host host;
      SCOPED_TRACE(operation.path);
      host.transport->answer(std::string(accountSettings), status, document);
      Outcome outcome;
      operation.start(*host.provider, outcome);
      EXPECT_EQ(runElsewhere(host), outcome.thread);
      EXPECT_EQ(outcome.ending(), isDisabled);
      EXPECT_EQ(host.requestedPaths().back(), accountSettings);  // and nothing after that
      auto lines = host.newLines();
      lines.erase(lines.begin(), lines.end() - 2);
      EXPECT_THAT(lines, testing::ElementsAre("warn: Pellix is disabled at account level.",
                                              "info: called"));
    }
  }
}

TEST(Operations, CallBackOnceAndLetGoAtTheirEndEvenIfTheSettingsServiceIsAtFault) {
  for (const char* document : {enabled, disabled, static_cast<const char*>(nullptr)}) {
    for (const auto& operation : operations) {
      SCOPED_TRACE(operation.path);
      const auto service = std::make_shared<OwnSettings>(document);
      service->isAtFault = true;
      const Host host(service);
      host.veltrane->setLumenoLocaleOverride("fr");
      Outcome outcome;
      std::string atTheEnd;
      // Within the settings service, which has not yet returned from its continuation's call, and
      // within the operation's own, for all is at hand.
      service->afterAnswer = [&] { atTheEnd = outcome.ending(); };
      operation.start(*host.provider, outcome);
      EXPECT_EQ(atTheEnd, document == enabled ? "still held, silence" : isDisabled);
      host.transport->run();
      DispatchQueue::main().post([&] { atTheEnd = outcome.ending(); });
      DispatchQueue::main().runPending();
      const auto& success = operation.path == queryPath ? answered : reported;
      EXPECT_EQ(atTheEnd, document == enabled ? success : isDisabled);
      EXPECT_EQ(host.transport->requests(operation.path).size(), document == enabled ? 1U : 0U);
    }
  }
}

TEST(Operations, EndSilentlyIfTheirBodyCanNotBeEncodedUnlessTheFeatureIsDisabled) {
  const std::string ofQuery = "Error: [^\n]*enquiry[^\n]*\n";
  const std::string ofReport = "Error: [^\n]*interaction_access_token[^\n]*\n";
  for (const bool isEnabled : {true, false}) {
    Host host(std::make_shared<OwnSettings>(isEnabled ? enabled : disabled));
    host.veltrane->setLumenoLocaleOverride("fr");
    const Support::StandardOutput output;
    Outcome outcomes[3];
    host.provider->getDeflectionForQuery("half a letter: \xC3", outcomes[0].callback());
    host.provider->resolveWithArticle(7, 4711, "\xFF", outcomes[1].callback());
    host.provider->rejectWithArticle(7, 4711, "\xFF", reason2, outcomes[2].callback());
    for (const auto& outcome : outcomes) {
      EXPECT_EQ(outcome.ending(), isEnabled ? "silence" : isDisabled);
    }
    EXPECT_TRUE(host.requestedPaths().empty());  // there is no vote either
    EXPECT_THAT(output.text(),
                testing::MatchesRegex(ofQuery + (isEnabled ? ofReport + ofReport : "")));
    EXPECT_THAT(host.newLines(), testing::Not(testing::Contains(testing::HasSubstr("encode"))));
  }
}

TEST(Operations, EndSilentlyIfTheProviderGoesMeanwhile) {
  for (const auto& operation : operations) {
    // The last stage is when the answer waits in the main queue.
    for (const auto stage : {knowledgeSettings, accountSettings, operation.path, votePath}) {
      if (stage == knowledgeSettings && operation.path != queryPath) continue;
      SCOPED_TRACE(stage);
      Host host;
      const std::weak_ptr<PellixProvider> watch = host.provider;
      const auto letGo = [&] {
        host.provider.reset();
        Pellix::initialize(makeQuorvel(), host.veltrane);  // which replaces the facade
        EXPECT_TRUE(watch.expired());
      };
      host.transport->answer(std::string(stage), [&](const TransportRequest&) {
        letGo();
        return reply(200, stage == knowledgeSettings ? R"({"locale":"de"})"
                          : stage == accountSettings ? enabled
                                                     : responseJSON());
      });
      Outcome outcome;
      operation.start(*host.provider, outcome);
      host.transport->run();
      if (!watch.expired()) letGo();
      DispatchQueue::main().runPending();
      EXPECT_EQ(outcome.ending(), "silence");
      const bool isSent = stage != knowledgeSettings && stage != accountSettings;
      EXPECT_EQ(host.transport->requests(operation.path).size(), isSent ? 1U : 0U);
    }
  }
}

std::string heard;

void hear(const Result<DeflectionResponse>& result) {
  heard += result ? "+" : "-";
}

void hearBoth(const std::shared_ptr<const DeflectionResponse>& response,
              const std::optional<PellixPlatform::Error>& error) {
  heard += !response == !error ? "?" : response ? "+" : "-";
}

TEST(Operations, TakeCallbacksOfEveryKindAndNoneAtAll) {
  for (const int status : {200, 500}) {
    const Host host;
    host.transport->answer(std::string(queryPath), status, responseJSON());
    auto& to = *host.provider;
    const auto ask = [&](auto... callbacks) { (to.getDeflectionForQuery("q", callbacks), ...); };
    ask([](const Result<DeflectionResponse>& result) { hear(result); },
        [](std::shared_ptr<const DeflectionResponse> r, const auto& error) { hearBoth(r, error); },
        [n = 1](auto&& result) mutable { --n == 0 ? hear(result) : void(); },
        [](auto response, auto error) { hearBoth(response, error); }, hear, hearBoth,
        std::bind_front(hear), std::bind_front(hearBoth), ResultCallback<DeflectionResponse>(),
        OptionalsCallback<DeflectionResponse>());
    PellixProvidersSDK::PellixProviderProtocol& protocol = to;
    protocol.getDeflectionForQuery("q", [&](const auto&) { ask(hear); });
    to.resolveWithArticle(1, 2, "t", ResultCallback<PellixDispatcherResponse>());
    to.resolveWithArticle(1, 2, "t", OptionalsCallback<PellixDispatcherResponse>());
    host.transport->settle();
    EXPECT_EQ(std::exchange(heard, ""), status == 200 ? "+++++++++" : "---------");
    EXPECT_EQ(host.transport->requests(queryPath).size(), 12U);
    EXPECT_EQ(host.transport->requests(resolvePath).size(), 2U);
  }
}

TEST(Operations, ReportWhatTheyAreGiven) {
  const Host host;
  constexpr auto least = std::numeric_limits<std::int64_t>::min();
  Outcome outcome;
  host.provider->resolveWithArticle(-7, least, "a \"token\"", outcome.optionalsCallback());
  host.provider->rejectWithArticle(
      least, 4711, "", PellixProvidersSDK::RejectionReason{7},
      outcome.optionalsCallback());  // which the other form is called by
  host.transport->settle();
  const std::pair<std::string_view, const char*> cases[] = {
      {resolvePath,
       R"({"deflection_id":-7,"article_id":-9223372036854775808,"resolution_channel_id":65,)"
       R"("interaction_access_token":"a \"token\""})"},
      {rejectPath,
       R"({"deflection_id":-9223372036854775808,"article_id":4711,"resolution_channel_id":65,)"
       R"("interaction_access_token":"","reason_id":7})"},
  };
  for (const auto& [path, body] : cases) {
    const auto sent = host.transport->requests(path).at(0);
    EXPECT_EQ(sent.body, body);
    EXPECT_EQ(sent.method, QuorvelCoreSDK::HttpMethod::post);
    EXPECT_THAT(sent.headers, testing::Contains(testing::Pair("Authorization", "Bearer secret")));
  }
  EXPECT_THAT(host.requestedPaths(),
              testing::Contains("/knowledge/v1/articles/-9223372036854775808/votes/up"));
}

TEST(Operations, TellOfAVoteThatFailsInTheLogAlone) {
  Host host;
  EXPECT_EQ(host.outcomeOf(resolution), reported);
  EXPECT_THAT(host.newLines(), testing::ElementsAre("info: called"));
  host.transport->answer(std::string(votePath), 404, "");
  EXPECT_EQ(host.outcomeOf(resolution), reported);
  EXPECT_THAT(host.newLines(),
              testing::ElementsAre("debug: Could not upvote article with id=4711. Error: "
                                   "com.veltrane.providers (3): The knowledge base answered with "
                                   "status 404 Not Found.",
                                   "info: called"));
}

}  // namespace
}  // namespace PellixTests
