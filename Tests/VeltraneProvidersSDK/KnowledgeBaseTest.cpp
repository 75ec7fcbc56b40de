#include "Support/Recorder.h"

#include <PellixPlatform/DispatchQueue.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>
#include <VeltraneProvidersSDK/internal/ServicePaths.h>

#include <QuorvelCoreSDKTesting/ScriptedTransport.h>
#include <gmock/gmock.h>

namespace VeltraneProvidersSDK {
namespace {

using QuorvelCoreSDK::Quorvel;
using testing::Contains;
using testing::HasSubstr;
using testing::Pair;

class KnowledgeBaseTest : public testing::Test {
 protected:
  /// With a fresh core instance, and this library's over it if it is to have one.
  void setUp(bool hasInstance = true) {
    transport_ = std::make_shared<QuorvelCoreSDK::Testing::ScriptedTransport>();
    quorvel_ = Quorvel::initialize({"https://account.example/base/", "application", "client"},
                                   {.token = [] { return "s3cret"; }, .transport = transport_})
                   .value();
    if (hasInstance) Veltrane::initialize(quorvel_);
  }

  /// Adds to `heard_` the locale that comes, and a dot when the callback goes.
  void ask() {
    QVLLumenoSettingsProvider::getLumenoSettings([this, held = guard()](const auto& settings) {
      heard_ += settings ? settings->locale() : "none";
    });
  }

  /// The same with what comes of a vote.
  void vote(std::optional<std::string> id) {
    QVLLumenoProvider().upVoteArticle(id, [this, held = guard()](const auto& votes, const auto& e) {
      EXPECT_NE(votes.has_value(), e.has_value());
      if (e) heard_ += e->description();
      for (const auto& [vote, article, value] : votes.value_or(std::vector<ArticleVote>())) {
        for (const auto number : {vote, article, value}) heard_ += std::to_string(number) + "/";
      }
    });
  }

  std::shared_ptr<void> guard() {
    return {nullptr, [this](void*) { heard_ += "."; }};
  }

  /// What was heard since the last call, after the transport has run (the main queue has not).
  std::string settled() {
    if (transport_) transport_->run();
    return std::exchange(heard_, "");
  }

  std::shared_ptr<QuorvelCoreSDK::Testing::ScriptedTransport> transport_;
  std::shared_ptr<Quorvel> quorvel_;
  std::string heard_;
  Support::LogRecorder log_;
};

TEST_F(KnowledgeBaseTest, KeepsItsSettingsButNeverAnswersWithinTheCall) {
  setUp();
  transport_->answer("/base/knowledge/v1/settings", 200, R"({"locale":"en-us"})");
  for (int i = 0; i < 3; ++i) {
    ask();
    EXPECT_EQ(heard_, "");
    EXPECT_FALSE(quorvel_->waitUntilIdle(std::chrono::milliseconds(0)));
    EXPECT_EQ(settled(), "en-us.");
    EXPECT_TRUE(quorvel_->waitUntilIdle(std::chrono::milliseconds(0)));
  }
  ASSERT_EQ(transport_->requests().size(), 1U);
  const auto request = transport_->requests().front();
  EXPECT_THAT(request.headers, Contains(Pair("X-Quorvel-Client", "Veltrane")));
  EXPECT_THAT(request.headers, testing::Not(Contains(Pair("Authorization", testing::_))));
}

TEST_F(KnowledgeBaseTest, AnswersNothingWhereThereAreNoSettings) {
  const std::tuple<int, const char*, const char*, const char*> cases[] = {
      {200, R"({"locale":"","more":[1]})", ".", ""},
      {200, R"({"locale":null})", "none.", "could not be used; there are none to use"},
      {200, "{", "none.", "are malformed; there are none to use"},
      {503, R"({"locale":"fr"})", "none.", "status 503"},
  };
  for (const auto& [status, body, answer, warning] : cases) {
    setUp();
    transport_->answer(std::string(ServicePaths::knowledgeSettings), status, body);
    ask();
    EXPECT_EQ(settled(), answer) << body;
    const auto lines = log_.newLines();
    EXPECT_EQ(lines.size(), *warning ? 1U : 0U) << body;
    EXPECT_THAT(lines, testing::Each(HasSubstr(warning)));
  }
}

TEST_F(KnowledgeBaseTest, AnswersWithoutInstances) {
  for (const bool hasCore : {false, true}) {
    if (hasCore) setUp(false);
    EXPECT_EQ(Veltrane::instance(), nullptr);
    ask();
    vote("1");
    EXPECT_EQ(heard_, "");
    PellixPlatform::DispatchQueue::main().runPending();
    EXPECT_EQ(heard_.empty(), hasCore);  // whose thread is at hand
    EXPECT_EQ(settled(), "none.com.veltrane.providers (2): The knowledge base is not set up..");
  }
}

TEST_F(KnowledgeBaseTest, TakesEmptyCallbacksAndGoesWithItsCore) {
  setUp();
  QVLLumenoProvider().upVoteArticle("2", nullptr);
  QVLLumenoProvider().upVoteArticle(std::nullopt, nullptr);
  QVLLumenoSettingsProvider::getLumenoSettings(nullptr);
  transport_->run();
  EXPECT_EQ(transport_->requests().size(), 2U);  // to where no callback is given, too

  const auto veltrane = Veltrane::instance();
  EXPECT_EQ(veltrane->quorvel(), quorvel_);
  veltrane->setLumenoLocaleOverride("");
  EXPECT_EQ(veltrane->lumenoLocaleOverride(), "");
  Veltrane::initialize(quorvel_);
  EXPECT_EQ(Veltrane::instance()->lumenoLocaleOverride(), std::nullopt);
  EXPECT_DEATH(Veltrane::initialize(nullptr), "needs a core instance");
}

TEST_F(KnowledgeBaseTest, Votes) {
  const std::string one = R"({"votes":[{"id":1,"article_id":2,"value":-1}]})";
  const std::string two =
      R"({"votes":[{"id":1,"article_id":2,"value":-1},{"value":1,"article_id":2,"id":4}]})";
  const std::string odd = "a/../b?c#d %\xC3\xA9\r\nAz09-";
  // The article, its place in the path (none: nothing is sent), the reply, and what comes of it.
  const std::tuple<std::optional<std::string>, std::string, int, std::string, std::string> cases[] =
      {
          {"2", "2", 299, two, "1/2/-1/4/2/1/."},
          {odd, "a%2F%2E%2E%2Fb%3Fc%23d%20%25%C3%A9%0D%0AAz09-", 200, one, "1/2/-1/."},
          {std::nullopt, "", 200, one,
           "com.veltrane.providers (1): No article is named to vote for.."},
          {"", "", 200, one, "com.veltrane.providers (1): No article is named to vote for.."},
          {"2", "2", 300, one, "com.veltrane.providers (3)"},
          {"2", "2", 200, "", "Platform.DecodingError (5)"},
          {"2", "2", 200, R"({"votes":[{"id":1,"article_id":2}]})", "votes[0]"},
          {"2", "2", 0, "", "com.quorvel.core (8)"},
      };
  for (const auto& [id, path, status, body, answer] : cases) {
    setUp();
    const auto url = "https://account.example/base/knowledge/v1/articles/" + path + "/votes/up";
    if (status != 0) transport_->answer(url, status, body);
    vote(id);
    EXPECT_EQ(heard_, "");
    EXPECT_THAT(settled(), testing::AllOf(HasSubstr(answer), testing::EndsWith(".")));
    const auto requests = transport_->requests();
    ASSERT_EQ(requests.size(), path.empty() ? 0U : 1U);
    if (path.empty()) continue;
    EXPECT_EQ(requests[0].method, QuorvelCoreSDK::HttpMethod::post);
    EXPECT_EQ(requests[0].url.string(), url);
    EXPECT_EQ(requests[0].body, std::nullopt);
    EXPECT_THAT(requests[0].headers, Contains(Pair("Authorization", "Bearer s3cret")));
  }
}

}  // namespace
}  // namespace VeltraneProvidersSDK
