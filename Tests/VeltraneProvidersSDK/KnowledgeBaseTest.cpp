#include "Support/Recorder.h"

#include <PellixPlatform/DispatchQueue.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>
#include <VeltraneProvidersSDK/internal/ServicePaths.h>

#include <QuorvelCoreSDKTesting/ScriptedTransport.h>
#include <gmock/gmock.h>

namespace VeltraneProvidersSDK {
namespace {

using QuorvelCoreSDK::Quorvel;
using ServicePaths::knowledgeSettings;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class KnowledgeBaseTest : public testing::Test {
 protected:
  void setUpCore() {
    transport_ = std::make_shared<QuorvelCoreSDK::Testing::ScriptedTransport>();
    quorvel_ = Quorvel::initialize({"https://account.example/base/", "application", "client"},
                                   {.token = [] { return "s3cret"; }, .transport = transport_})
                   .value();
  }

  /// With a fresh core instance, and this library's over it.
  void setUp() {
    setUpCore();
    Veltrane::initialize(quorvel_);
  }

  /// Adds to `answers_` the locale that comes.
  void ask() {
    QVLLumenoSettingsProvider::getLumenoSettings([this](const auto& settings) {
      answers_.push_back(settings ? settings->locale() : "none");
    });
  }

  /// Adds to `answers_` what comes of a vote.
  void vote(std::optional<std::string> id) {
    QVLLumenoProvider().upVoteArticle(std::move(id), [this](const auto& votes, const auto& error) {
      EXPECT_NE(votes.has_value(), error.has_value());
      std::string text = error ? error->description() : "votes";
      for (const auto& vote : votes.value_or(std::vector<ArticleVote>())) {
        text += " " + std::to_string(vote.id) + "/" + std::to_string(vote.articleId) + "/" +
                std::to_string(vote.value);
      }
      answers_.push_back(text);
    });
  }

  /// The answers since the last call, after the transport has run (the main queue has not).
  std::vector<std::string> settled() {
    if (transport_) transport_->run();
    return std::exchange(answers_, {});
  }

  std::shared_ptr<QuorvelCoreSDK::Testing::ScriptedTransport> transport_;
  std::shared_ptr<Quorvel> quorvel_;
  std::vector<std::string> answers_;
  Support::LogRecorder log_;
};

TEST_F(KnowledgeBaseTest, KeepsItsSettingsButNeverAnswersWithinTheCall) {
  setUp();
  transport_->answer(std::string(knowledgeSettings), 200, R"({"locale":"en-us"})");
  for (int i = 0; i < 3; ++i) {
    ask();
    EXPECT_THAT(answers_, IsEmpty());
    EXPECT_FALSE(quorvel_->waitUntilIdle(std::chrono::milliseconds(0)));
    EXPECT_THAT(settled(), ElementsAre("en-us"));
    EXPECT_TRUE(quorvel_->waitUntilIdle(std::chrono::milliseconds(0)));
  }
  ASSERT_EQ(transport_->requests().size(), 1U);
  const auto request = transport_->requests().front();
  EXPECT_EQ(request.url.string(), "https://account.example/base/knowledge/v1/settings");
  EXPECT_THAT(request.headers, testing::Contains(std::pair<std::string, std::string>(
                                   "X-Quorvel-Client", "Veltrane")));
  for (const auto& [name, value] : request.headers) EXPECT_NE(name, "Authorization");
}

TEST_F(KnowledgeBaseTest, AnswersNothingWhereThereAreNoSettings) {
  struct Case {
    int status;
    std::string body;
    std::string answer;
    std::string warning;
  };
  const Case cases[] = {
      {200, R"({"locale":""})", "", ""},
      {200, R"({"locale":"fr","more":[1]})", "fr", ""},
      {200, R"({"locale":null})", "none", "could not be used"},
      {200, "{}", "none", "could not be used"},
      {200, "{", "none", "are malformed; there are none to use"},
      {200, "", "none", "are malformed"},
      {503, R"({"locale":"fr"})", "none", "status 503"},
  };
  for (const auto& [status, body, answer, warning] : cases) {
    SCOPED_TRACE(body);
    setUp();
    const auto before = log_.lines().size();
    transport_->answer(std::string(knowledgeSettings), status, body);
    ask();
    EXPECT_THAT(settled(), ElementsAre(answer));
    const auto lines = log_.lines();
    ASSERT_EQ(lines.size() - before, warning.empty() ? 0U : 1U);
    EXPECT_THAT(warning.empty() ? warning : lines.back(), HasSubstr(warning));
  }
}

TEST_F(KnowledgeBaseTest, AnswersWithoutInstances) {
  const std::string notSetUp = "com.veltrane.providers (2): The knowledge base is not set up.";
  ask();
  vote("1");
  EXPECT_THAT(settled(), IsEmpty());
  PellixPlatform::DispatchQueue::main().runPending();
  EXPECT_THAT(settled(), ElementsAre("none", notSetUp));

  setUpCore();
  EXPECT_EQ(Veltrane::instance(), nullptr);
  ask();
  vote("1");
  EXPECT_THAT(answers_, IsEmpty());
  EXPECT_THAT(settled(), ElementsAre("none", notSetUp));  // the core's thread is at hand
  EXPECT_THAT(transport_->requests(), IsEmpty());
}

TEST_F(KnowledgeBaseTest, KeepsAnOverrideOfTheLocale) {
  setUp();
  const auto veltrane = Veltrane::instance();
  EXPECT_EQ(veltrane->quorvel(), quorvel_);
  for (const auto& locale : {std::optional<std::string>(), std::optional<std::string>("fr"),
                             std::optional<std::string>(""), std::optional<std::string>()}) {
    veltrane->setLumenoLocaleOverride(locale);
    EXPECT_EQ(veltrane->lumenoLocaleOverride(), locale);
  }
  veltrane->setLumenoLocaleOverride("de");
  Veltrane::initialize(quorvel_);
  EXPECT_NE(Veltrane::instance(), veltrane);
  EXPECT_EQ(Veltrane::instance()->lumenoLocaleOverride(), std::nullopt);
}

TEST_F(KnowledgeBaseTest, Votes) {
  struct Case {
    std::optional<std::string> id;
    std::string path;  // after the articles' own; none: nothing is sent
    int status;
    std::string body;
    std::string answer;
  };
  const std::string one = R"({"votes":[{"id":1,"article_id":2,"value":1}]})";
  const std::string two =
      R"({"votes":[{"id":1,"article_id":2,"value":-1},{"value":1,"article_id":2,"id":4}]})";
  const Case cases[] = {
      {"2", "2", 200, one, "votes 1/2/1"},
      {"2", "2", 299, two, "votes 1/2/-1 4/2/1"},
      {"2", "2", 201, R"({"votes":[]})", "votes"},
      {"a/../b?c#d %", "a%2F%2E%2E%2Fb%3Fc%23d%20%25", 200, one, "votes 1/2/1"},
      {"..", "%2E%2E", 200, one, "votes 1/2/1"},
      {"\xC3\xA9\r\n", "%C3%A9%0D%0A", 200, one, "votes 1/2/1"},
      {"Az09-", "Az09-", 200, one, "votes 1/2/1"},
      {std::nullopt, "", 200, one, "com.veltrane.providers (1): No article is named"},
      {"", "", 200, one, "com.veltrane.providers (1): No article is named"},
      {"2", "2", 199, one, "com.veltrane.providers (3)"},
      {"2", "2", 300, one, "com.veltrane.providers (3)"},
      {"2", "2", 404, "", "status 404 Not Found"},
      {"2", "2", 200, "", "Platform.DecodingError (5)"},
      {"2", "2", 200, R"({"votes":[{"id":1,"article_id":2}]})", "votes[0]"},
      {"2", "2", 0, "", "com.quorvel.core (8)"},
  };
  for (const auto& [id, path, status, body, answer] : cases) {
    SCOPED_TRACE(id.value_or("none") + " " + std::to_string(status) + " " + body);
    setUp();
    const auto url = "https://account.example/base/knowledge/v1/articles/" + path + "/votes/up";
    if (status != 0) transport_->answer(url, status, body);
    vote(id);
    EXPECT_THAT(answers_, IsEmpty());
    EXPECT_THAT(settled(), ElementsAre(HasSubstr(answer)));
    const auto requests = transport_->requests();
    ASSERT_EQ(requests.size(), path.empty() ? 0U : 1U);
    if (path.empty()) continue;
    EXPECT_EQ(requests.back().method, QuorvelCoreSDK::HttpMethod::post);
    EXPECT_EQ(requests.back().url.string(), url);
    EXPECT_EQ(requests.back().body, std::nullopt);
    EXPECT_THAT(requests.back().headers, testing::Contains(std::pair<std::string, std::string>(
                                             "Authorization", "Bearer s3cret")));
  }
}

TEST_F(KnowledgeBaseTest, TakesEmptyCallbacks) {
  setUp();
  QVLLumenoProvider().upVoteArticle("2", nullptr);
  QVLLumenoProvider().upVoteArticle(std::nullopt, nullptr);
  QVLLumenoSettingsProvider::getLumenoSettings(nullptr);
  settled();
  EXPECT_EQ(transport_->requests().size(), 2U);
}

TEST_F(KnowledgeBaseTest, LetsGoOfItsCallbacks) {
  for (const bool hasInstance : {false, true}) {
    if (hasInstance) setUp();
    for (const auto& id : {std::optional<std::string>(), std::optional<std::string>("2")}) {
      auto held = std::make_shared<int>();
      const std::weak_ptr<int> watched = held;
      QVLLumenoProvider().upVoteArticle(id, [held](const auto&, const auto&) {});
      QVLLumenoSettingsProvider::getLumenoSettings([held](const auto&) {});
      held.reset();
      EXPECT_FALSE(watched.expired());
      settled();
      PellixPlatform::DispatchQueue::main().runPending();
      EXPECT_TRUE(watched.expired());
    }
  }
}

TEST(KnowledgeBaseDeathTest, NeedsACoreInstance) {
  EXPECT_DEATH(Veltrane::initialize(nullptr), "needs a core instance");
}

}  // namespace
}  // namespace VeltraneProvidersSDK
