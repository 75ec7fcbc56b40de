// How a host tests what it makes of the library's answers, without a network: against the fake
// provider, then with the whole library over a transport that answers as scripted.

#include <PellixPlatform/DispatchQueue.h>
#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>

#include <PellixProvidersSDKTesting/FakePellixProvider.h>
#include <QuorvelCoreSDKTesting/ScriptedTransport.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace {

using namespace PellixProvidersSDK;
using namespace std::chrono_literals;

/// What is tested: the logic of a screen, whose widgets are a line of text here. It depends on the
/// protocol, not on the library's provider.
class AnswerScreen : public std::enable_shared_from_this<AnswerScreen> {
 public:
  explicit AnswerScreen(std::shared_ptr<PellixProviderProtocol> provider)
      : provider_(std::move(provider)) {}

  [[nodiscard]] const std::string& text() const { return text_; }

  void ask(std::string question) {
    text_ = "loading";
    auto ending = std::make_shared<Ending>(weak_from_this(), ++latest_);
    provider_->getDeflectionForQuery(
        std::move(question), [ending = std::move(ending)](Result<DeflectionResponse> result) {
          ending->result = std::move(result);
        });
  }

  void solvedBy(std::size_t article) {
    provider_->resolveWithArticle(response_->deflection()->deflectionID(),
                                  response_->deflectionArticles().at(article)->articleId(),
                                  response_->interactionAccessToken(), [](const auto&) {});
  }

 private:
  /// The callback holds it. Called or not, on whatever thread, a callback goes in the end, and this
  /// with it: so the screen hears of every ending, the silent ones too, on its own thread.
  struct Ending {
    std::weak_ptr<AnswerScreen> screen;
    int question;
    std::optional<Result<DeflectionResponse>> result;

    ~Ending() {
      PellixPlatform::DispatchQueue::main().post(
          [screen = std::move(screen), question = question, result = std::move(result)] {
            if (const auto there = screen.lock()) there->show(question, result);
          });
    }
  };

  void show(int question, const std::optional<Result<DeflectionResponse>>& result) {
    if (question != latest_) return;  // another one was asked meanwhile
    if (!result) {
      text_ = "no answer";
    } else if (!*result) {
      text_ = "failed: " + result->error().localizedDescription();
    } else {
      response_ = **result;
      text_ = "articles:";
      for (const auto& article : response_->deflectionArticles()) text_ += " " + article->title();
      if (response_->deflectionArticles().empty()) text_ = "nothing found";
    }
  }

  const std::shared_ptr<PellixProviderProtocol> provider_;
  int latest_ = 0;
  std::shared_ptr<const DeflectionResponse> response_;
  std::string text_;
};

std::string article(const std::string& title) {
  return R"({"id":1,"title":")" + title +
         R"(","html_url":"","url":"","label_names":[],"body":"","article_id":4711,)"
         R"("locale":"en-us","brand_id":3,"score":0.5,"snippet":""})";
}

/// What the answer service replies.
std::string reply(const std::string& articles) {
  return R"({"deflection":{"id":7,"auth_token":""},"deflection_articles":[)" + articles +
         R"(],"interaction_access_token":"token"})";
}

using Testing::FakePellixProvider;
using Testing::responseFrom;

class WithAFake : public testing::Test {
 protected:
  const std::shared_ptr<FakePellixProvider> provider = std::make_shared<FakePellixProvider>();
  const std::shared_ptr<AnswerScreen> screen = std::make_shared<AnswerScreen>(provider);
};

TEST_F(WithAFake, ShowsHowAQuestionEnds) {
  const std::pair<Testing::Ending<DeflectionResponse>, std::string> cases[] = {
      {responseFrom(reply(article("Reset") + "," + article("Call"))), "articles: Reset Call"},
      {responseFrom(reply("")), "nothing found"},
      {std::unexpected(PellixPlatform::Error("net", 8)), "failed: net (8)"},
      {Testing::silence, "no answer"},
  };
  for (const auto& [ending, text] : cases) {
    provider->onQuery(ending);
    screen->ask("How?");
    EXPECT_EQ(screen->text(), "loading");
    provider->finishAll();
    PellixPlatform::DispatchQueue::main().runPending();
    EXPECT_EQ(screen->text(), text);
  }
}

TEST_F(WithAFake, ShowsTheLatestQuestionsAnswerWhicheverComesFirst) {
  provider->onQuery(responseFrom(reply(article("Old"))));
  screen->ask("old");
  provider->onQuery(responseFrom(reply(article("New"))));
  screen->ask("new");
  for (const std::size_t call : {1U, 0U}) {
    provider->finish(call);
    PellixPlatform::DispatchQueue::main().runPending();
    EXPECT_EQ(screen->text(), "articles: New");
  }
  screen->solvedBy(0);
  const FakePellixProvider::Call report{.operation = FakePellixProvider::Operation::resolution,
                                        .deflectionId = 7,
                                        .articleId = 4711,
                                        .interactionAccessToken = "token"};
  EXPECT_EQ(provider->calls().at(2), report);
}

TEST(WithTheLibrary, ShowsThatItIsLoadingWhileAReplyIsSlow) {
  const auto transport = std::make_shared<QuorvelCoreSDK::Testing::ScriptedTransport>();
  transport->answer("/account/settings", 200, R"({"pellix":{"enabled":true}})");
  transport->answer("/knowledge/v1/settings", 200, R"({"locale":"en-us"})");
  transport->answer("/interactions", 200, reply(article("Reset")), 800ms);

  // The library is set up once for an application: give each test one of its own.
  const auto quorvel = QuorvelCoreSDK::Quorvel::initialize(
      {"https://acme.example", "slow", "client"},
      {.token = [] { return "secret"; }, .transport = transport});
  Pellix::initialize(quorvel.value(), VeltraneProvidersSDK::Veltrane::initialize(*quorvel));
  const auto screen = std::make_shared<AnswerScreen>(Pellix::instance()->provider());

  screen->ask("How?");
  for (const auto& [time, text] : {std::pair(799ms, "loading"), {1ms, "articles: Reset"}}) {
    transport->advance(time);
    transport->settle();  // the main queue runs too
    EXPECT_EQ(screen->text(), text);
  }
  transport->fail("/interactions");
  screen->ask("How?");
  transport->settle();
  EXPECT_EQ(screen->text().substr(0, 7), "failed:");
}

}  // namespace
