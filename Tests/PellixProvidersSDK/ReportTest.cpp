#include "PellixProvidersSDK/Host.h"

#include <gmock/gmock.h>

#include <limits>

namespace PellixTests {
namespace {

using testing::ElementsAre;

constexpr char voteOf4711[] = "/knowledge/v1/articles/4711/votes/up";

TEST(Reports, SendWhatTheyAreGiven) {
  const Host host;
  constexpr auto least = std::numeric_limits<std::int64_t>::min();
  Outcome outcomes[2];
  host.provider->resolveWithArticle(-7, least, "a \"token\"", outcomes[0].callback());
  host.provider->rejectWithArticle(least, 4711, "", PellixProvidersSDK::RejectionReason{7},
                                   outcomes[1].callback());
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
    const auto sent = host.transport->requests(path);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].body, body);
    EXPECT_EQ(sent[0].method, QuorvelCoreSDK::HttpMethod::post);
    EXPECT_THAT(sent[0].headers,
                testing::Contains(testing::Pair("Authorization", "Bearer secret")));
  }
  EXPECT_THAT(host.requestedPaths(),
              testing::Contains("/knowledge/v1/articles/-9223372036854775808/votes/up"));
}

TEST(Reports, VoteForAnArticleRightAfterItsResolutionIsSent) {
  const Host host;
  host.transport->ignore(std::string(resolvePath));
  Outcome outcome;
  resolution.start(*host.provider, outcome);
  host.transport->run();
  EXPECT_THAT(host.requestedPaths(), ElementsAre(accountSettings, resolvePath, voteOf4711));
  host.transport->drop();

  const Host other;
  EXPECT_THAT(other.outcomeOf(rejection), testing::StartsWith("reply 200"));
  EXPECT_THAT(other.requestedPaths(), ElementsAre(accountSettings, rejectPath));
}

TEST(Reports, TellOfAVoteThatFailsInTheLogAlone) {
  const std::pair<int, std::vector<std::string>> cases[] = {
      {200, {"info: called"}},
      {404,
       {"debug: Could not upvote article with id=4711. Error: com.veltrane.providers (3): The "
        "knowledge base answered with status 404 Not Found.",
        "info: called"}},
  };
  for (const auto& [status, lines] : cases) {
    Host host;
    host.transport->answer(std::string(votePath), status, R"({"votes":[]})");
    host.transport->answer(std::string(resolvePath), 204, "");
    EXPECT_EQ(host.outcomeOf(resolution), "reply 204 without a body");
    EXPECT_EQ(host.newLines(), lines);
  }
}

}  // namespace
}  // namespace PellixTests
