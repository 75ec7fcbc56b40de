#include "Support/Recorder.h"
#include "Support/Rows.h"

#include <PellixPlatform/DispatchQueue.h>
#include <QuorvelCoreSDK/internal/ServicePaths.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>

#include <QuorvelCoreSDKTesting/ScriptedTransport.h>
#include <gmock/gmock.h>

namespace VeltraneProvidersSDK {
namespace {

using QuorvelCoreSDK::Quorvel;
using QuorvelCoreSDK::ServicePaths::accountSettings;
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
    transport_->answer(std::string(accountSettings), 200, "{}");
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
    ask();
    EXPECT_TRUE(Quorvel::shutDown(std::chrono::milliseconds(0)));
    PellixPlatform::DispatchQueue::main().runPending();
    EXPECT_EQ(settled(), ".");
  }
}

TEST_F(KnowledgeBaseTest, KeepsItsSettingsButNeverAnswersWithinTheCall) {
  for (const auto& row : Support::rowsOf("VeltraneProvidersSDK/Data/Settings.txt")) {
    SCOPED_TRACE(testing::PrintToString(row));
    setUp();
    transport_->answer("/base/knowledge/v1/settings", std::stoi(row[0]), row[1]);
    for (int i = 0; i < 2; ++i) {
      ask();
      EXPECT_EQ(heard_, "");
      EXPECT_FALSE(quorvel_->waitUntilIdle(std::chrono::milliseconds(0)));
      EXPECT_EQ(settled(), row[2] + ".");
      EXPECT_TRUE(quorvel_->waitUntilIdle(std::chrono::milliseconds(0)));
    }
    const auto lines = log_.newLines();
    EXPECT_EQ(std::to_string(lines.size()), row[3]);
    EXPECT_THAT(lines, testing::Each(HasSubstr(row[4])));
    // Who wants to know is going to ask for the account's next.
    EXPECT_EQ(transport_->requests(accountSettings).size(), 1U);
    EXPECT_EQ(transport_->requests().back().waitsForConnection, row[5] == "1");
    const auto requests = transport_->requests("/base/knowledge/v1/settings");
    EXPECT_EQ(std::to_string(requests.size()), row[5]);
    for (const auto& request : requests) {
      EXPECT_THAT(request.headers, Contains(Pair("X-Quorvel-Client", "Veltrane")));
      EXPECT_THAT(request.headers, testing::Not(Contains(Pair("Authorization", testing::_))));
    }
  }
}

TEST_F(KnowledgeBaseTest, HasTheAccountsSettingsFetchedBesideItsOwnOnce) {
  setUp();
  transport_->ignore("/base/knowledge/v1/settings");
  transport_->fail(std::string(accountSettings));
  ask();
  transport_->run();
  EXPECT_THAT(log_.newLines(), testing::ElementsAre(HasSubstr("the default is used instead")));
  ask();
  transport_->run();
  EXPECT_EQ(transport_->requests().size(), 2U);
  transport_->drop();
}

TEST_F(KnowledgeBaseTest, TakesEmptyCallbacksAndGoesWithItsCore) {
  setUp();
  QVLLumenoProvider().upVoteArticle("2", nullptr);
  QVLLumenoProvider().upVoteArticle(std::nullopt, nullptr);
  QVLLumenoSettingsProvider::getLumenoSettings(nullptr);
  transport_->run();
  EXPECT_EQ(transport_->requests().size(), 3U);  // to where no callback is given, too

  const auto veltrane = Veltrane::instance();
  EXPECT_EQ(veltrane->quorvel(), quorvel_);
  veltrane->setLumenoLocaleOverride("");
  EXPECT_EQ(veltrane->lumenoLocaleOverride(), "");
  Veltrane::initialize(quorvel_);
  EXPECT_EQ(Veltrane::instance()->lumenoLocaleOverride(), std::nullopt);
  EXPECT_DEATH(Veltrane::initialize(nullptr), "needs a core instance");
}

TEST_F(KnowledgeBaseTest, Votes) {
  for (const auto& row : Support::rowsOf("VeltraneProvidersSDK/Data/Votes.txt")) {
    SCOPED_TRACE(testing::PrintToString(row));
    setUp();
    const auto url = "https://account.example/base/knowledge/v1/articles/" + row[1] + "/votes/up";
    if (row[2] != "none") transport_->answer(url, std::stoi(row[2]), row[3]);
    vote(row[0] == "none" ? std::nullopt : std::optional(row[0]));
    EXPECT_EQ(heard_, "");
    EXPECT_THAT(settled(), testing::AllOf(HasSubstr(row[4]), testing::EndsWith(".")));
    const auto requests = transport_->requests();
    ASSERT_EQ(requests.size(), row[1].empty() ? 0U : 1U);
    if (requests.empty()) continue;
    EXPECT_EQ(requests[0].method, QuorvelCoreSDK::HttpMethod::post);
    EXPECT_EQ(requests[0].url.string(), url);
    EXPECT_EQ(requests[0].body, std::nullopt);
    EXPECT_THAT(requests[0].headers, Contains(Pair("Authorization", "Bearer s3cret")));
  }
}

}  // namespace
}  // namespace VeltraneProvidersSDK
