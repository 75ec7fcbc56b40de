#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>

#include <AnswerService.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

namespace {

using namespace PellixProvidersSDK;
using PellixPlatform::DispatchQueue;
using QuorvelCoreSDK::Quorvel;
using VeltraneProvidersSDK::Veltrane;

using Answer = std::optional<Result<DeflectionResponse>>;

/// The library whole, over real HTTP, against the embedded service.
class EndToEnd : public testing::Test {
 protected:
  explicit EndToEnd(AnswerService::Options options = {}) : service(std::move(options)) {
    service.start();
  }

  void initialize(QuorvelCoreSDK::Configuration configuration = {}) {
    configuration.token = [] { return "demo-token"; };
    const auto quorvel =
        Quorvel::initialize({service.baseUrl(), service.baseUrl(), "client"}, configuration);
    ASSERT_TRUE(quorvel.has_value());
    Pellix::initialize(*quorvel, Veltrane::initialize(*quorvel));
  }

  /// Starts a query that stops the main queue when the last of those that share `guard` has ended.
  static void start(std::string question, Answer& answer, std::shared_ptr<void> guard) {
    Pellix::instance()->provider()->getDeflectionForQuery(
        std::move(question),
        [&answer, guard = std::move(guard)](Result<DeflectionResponse> result) {
          answer = std::move(result);
        });
  }

  static std::shared_ptr<void> stopTheQueue() {
    return {nullptr, [](void*) { DispatchQueue::main().stop(); }};
  }

  static Answer ask(std::string question) {
    Answer answer;
    start(std::move(question), answer, stopTheQueue());
    DispatchQueue::main().run();
    return answer;
  }

  static std::string titleOfBest(const Answer& answer) {
    if (!answer || !*answer || answer->value()->deflectionArticles().empty()) return {};
    return answer->value()->deflectionArticles()[0]->title();
  }

  AnswerService::Service service;
};

TEST_F(EndToEnd, EveryQueryAfterTheFirstCostsOneRequest) {
  initialize();
  const auto requests = [this] {
    std::int64_t sum = 0;
    for (const auto& [endpoint, count] : service.record().requests) sum += count;
    return sum;
  };
  EXPECT_EQ(titleOfBest(ask("I forgot my password")), "I forgot my password");
  EXPECT_EQ(requests(), 3);
  EXPECT_EQ(titleOfBest(ask("I forgot my password")), "I forgot my password");
  EXPECT_EQ(requests(), 4);
}

TEST_F(EndToEnd, FiftyFirstQueriesAtOnceFetchTheSettingsOnce) {
  initialize();
  std::vector<Answer> answers(50);
  {
    const auto guard = stopTheQueue();
    for (auto& answer : answers) start("I forgot my password", answer, guard);
  }
  DispatchQueue::main().run();
  for (const auto& answer : answers) EXPECT_EQ(titleOfBest(answer), "I forgot my password");
  auto requests = service.record().requests;
  EXPECT_EQ(requests["settings"], 1);
  EXPECT_EQ(requests["knowledge-settings"], 1);
  EXPECT_EQ(requests["interaction"], 50);
}

TEST_F(EndToEnd, QuestionsArriveAsGiven) {
  initialize();
  const std::vector<std::string> questions{
      "",
      " \t\n ",
      std::string("a\0b", 3),
      "שכחתי את הסיסמה",
      "👩‍👩‍👧 password? 🔑",
      "\"quoted\" \\ back/slash \x01\x1F\x7F",
      "pass* OR (NEAR \"x\") AND -y:z",
      std::string(std::size_t{1} << 20, 'w'),
  };
  for (const auto& question : questions) {
    const auto answer = ask(question);
    ASSERT_TRUE(answer && *answer) << question.substr(0, 40);
    EXPECT_EQ(service.record().queries.back().enquiry, question);
  }
}

TEST_F(EndToEnd, TheLocaleDecidesTheLanguage) {
  struct Row {
    const char* locale;
    const char* question;
    const char* title;
  };
  initialize();
  for (const auto& row : std::vector<Row>{
           {"de", "Wie ändere ich mein Passwort?", "Passwort ändern"},
           {"ja", "パスワードを忘れました", "パスワードを忘れた場合"},
           {"en-us", "How do I change my password?", "Change your password"},
       }) {
    Veltrane::instance()->setLumenoLocaleOverride(row.locale);
    EXPECT_EQ(titleOfBest(ask(row.question)), row.title);
    EXPECT_EQ(service.record().queries.back().locale, row.locale);
  }
}

TEST_F(EndToEnd, SixteenThreadsAskingForTwoHostsLoseNothing) {
  initialize();
  AnswerService::Service other;
  other.start();
  const auto first = Pellix::instance()->provider();
  const auto quorvel = Quorvel::initialize({other.baseUrl(), "other application", "client"},
                                           {.token = [] { return "demo-token"; }});
  ASSERT_TRUE(quorvel.has_value());
  const auto facade = Pellix::instance();  // keeps the first provider
  Pellix::initialize(*quorvel, Veltrane::instance());
  const auto second = Pellix::instance()->provider();
  ASSERT_NE(first, second);

  constexpr int threads = 16;
  constexpr int each = 25;
  std::atomic<int> answered = 0;
  {
    const auto guard = stopTheQueue();
    std::vector<std::jthread> askers;
    for (int thread = 0; thread < threads; ++thread) {
      const auto provider = thread % 2 == 0 ? first : second;
      askers.emplace_back([provider, guard, &answered] {
        for (int query = 0; query < each; ++query) {
          provider->getDeflectionForQuery("password",
                                          [guard, &answered](const Result<DeflectionResponse>& r) {
                                            if (r) ++answered;
                                          });
        }
      });
    }
  }
  DispatchQueue::main().run();
  EXPECT_EQ(answered, threads * each);
  EXPECT_EQ(service.record().queries.size(), threads * each / 2);
  EXPECT_EQ(other.record().queries.size(), threads * each / 2);
}

class EndToEndOverTLS : public EndToEnd {
 protected:
  explicit EndToEndOverTLS(AnswerService::Options options = {.tls = true})
      : EndToEnd(std::move(options)) {
    std::ofstream(certificate) << service.certificatePem();
  }
  ~EndToEndOverTLS() override { std::filesystem::remove(certificate); }

  const std::filesystem::path certificate =
      std::filesystem::temp_directory_path() / ("certificate-" + std::to_string(getpid()));
};

TEST_F(EndToEndOverTLS, ACertificateIsTrustedOnlyIfItsAuthorityIs) {
  initialize({.network = {.certificateAuthorities = certificate}});
  EXPECT_EQ(titleOfBest(ask("I forgot my password")), "I forgot my password");
}

TEST_F(EndToEndOverTLS, NothingIsSentToAServerThatIsNotTrusted) {
  initialize();
  const auto answer = ask("I forgot my password");
  ASSERT_TRUE(answer && !*answer);  // the settings can't be had, so the feature counts as disabled
  EXPECT_EQ(answer->error().domain(), PellixDisabledErrorDomain);
  for (const auto& [endpoint, count] : service.record().requests) EXPECT_EQ(count, 0) << endpoint;
}

}  // namespace
