#include "Client.h"
#include "Support/Recorder.h"
#include "Support/Rows.h"

#include <QuorvelCoreSDK/internal/ServicePaths.h>

#include <QuorvelCoreSDKTesting/ScriptedTransport.h>
#include <gmock/gmock.h>

#include <stdexcept>

namespace QuorvelCoreSDK {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct Colour final : PellixPlatform::Object {
  using DefaultType = Colour;
  explicit Colour(std::string colour) : name(std::move(colour)) {}
  explicit Colour(const PellixPlatform::Decoder& decoder)
      : name(decoder.nested("theme").read<std::string>("colour")) {}
  static std::shared_ptr<const Colour> default_() { return std::make_shared<Colour>("default"); }
  const std::string name;
};

struct Shape final : PellixPlatform::Object {
  using DefaultType = Shape;
  Shape() = default;
  explicit Shape(const PellixPlatform::Decoder& decoder) {
    static_cast<void>(decoder.nested("shape"));
  }
  static std::shared_ptr<const Shape> default_() { return std::make_shared<Shape>(); }
};

constexpr char red[] = R"({"theme":{"colour":"red"}})";

class SettingsTest : public testing::Test {
 protected:
  void setUp(std::chrono::milliseconds timeToLive = generousLimit) {
    client_.emplace("https://account.example",
                    Configuration{.settingsTimeToLive = timeToLive, .transport = transport_});
  }

  void answer(int status, std::string body) {
    transport_->answer(std::string(ServicePaths::accountSettings), status, std::move(body));
  }

  /// Asks, on this thread; every answer is added to `answers_`.
  void ask() {
    client_->quorvel->providerModule().settings()->getSettings<Colour>(
        [this](const std::shared_ptr<const Colour>& colour) {
          const std::lock_guard lock(mutex_);
          answers_.push_back(colour->name);
        });
  }

  /// The answers since the last call, after all that waits has run.
  std::vector<std::string> settled() {
    transport_->run();
    return std::exchange(answers_, {});
  }

  std::vector<std::string> asked() {
    ask();
    return settled();
  }

  const std::shared_ptr<Testing::ScriptedTransport> transport_ =
      std::make_shared<Testing::ScriptedTransport>();
  std::optional<Client> client_;
  std::mutex mutex_;
  std::vector<std::string> answers_;
  Support::LogRecorder log_;
};

TEST_F(SettingsTest, AreKeptAndAnsweredAtOnce) {
  setUp();
  answer(200, red);
  ask();
  EXPECT_THAT(answers_, IsEmpty());
  EXPECT_THAT(settled(), ElementsAre("red"));
  ask();
  EXPECT_THAT(answers_, ElementsAre("red"));

  ASSERT_EQ(transport_->requests().size(), 1U);
  const auto request = transport_->requests().front();
  EXPECT_EQ(request.method, HttpMethod::get);
  EXPECT_EQ(request.url.string(), "https://account.example/api/v1/account/settings");
  for (const auto& [name, value] : request.headers) EXPECT_NE(name, "Authorization");
  EXPECT_EQ(request.requestTimeout, std::chrono::seconds(10));
  EXPECT_EQ(request.maxResponseBytes, std::size_t{256} << 10);
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(SettingsTest, AreDecodedOnceForEachTypeOfRecord) {
  setUp();
  answer(200, red);
  std::vector<std::shared_ptr<const PellixPlatform::Object>> records;
  const auto keep = [&](auto record) { records.push_back(std::move(record)); };
  const auto settings = client_->quorvel->providerModule().settings();
  for (int i = 0; i < 2; ++i) {
    settings->getSettings<Colour>(keep);
    settings->getSettings<Shape>(keep);  // which is not in the document
    transport_->run();
  }
  ASSERT_EQ(records.size(), 4U);
  EXPECT_EQ(records[0], records[2]);
  EXPECT_NE(std::dynamic_pointer_cast<const Colour>(records[0]), nullptr);
  EXPECT_NE(std::dynamic_pointer_cast<const Shape>(records[1]), nullptr);
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("could not be used; the default is used")));
}

TEST_F(SettingsTest, AreKeptForAsLongAsTheHostSays) {
  using std::chrono::milliseconds;
  for (const auto timeToLive : {milliseconds::zero(), milliseconds::max(), milliseconds::min()}) {
    const auto before = transport_->requests().size();
    setUp(timeToLive);
    answer(200, red);
    for (int i = 0; i < 3; ++i) {
      EXPECT_THAT(asked(), ElementsAre("red"));
    }
    const auto fetches = transport_->requests().size() - before;
    EXPECT_EQ(fetches, timeToLive == milliseconds::max() ? 1U : 3U);
  }
}

TEST_F(SettingsTest, ManyWhoAskAtOnceShareOneFetch) {
  setUp();
  answer(200, red);
  std::vector<std::thread> threads;
  for (int i = 0; i < 50; ++i) threads.emplace_back([this] { ask(); });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(transport_->requests().size(), 1U);
  EXPECT_EQ(settled().size(), 50U);
  EXPECT_EQ(transport_->requests().size(), 1U);
}

TEST_F(SettingsTest, FallBackOnTheLastGoodOnesElseOnTheDefault) {
  for (const bool hadGoodOnes : {false, true}) {
    for (const auto& row : Support::rowsOf("QuorvelCoreSDK/Data/Settings.txt")) {
      SCOPED_TRACE(row[0] + " " + row[1]);
      setUp(std::chrono::milliseconds(0));
      if (hadGoodOnes) {
        answer(200, red);
        EXPECT_THAT(asked(), ElementsAre("red"));
      }
      answer(std::stoi(row[0]), row[1]);
      if (row[0] == "0") transport_->fail(std::string(ServicePaths::accountSettings));
      EXPECT_FALSE(client_->quorvel->lastSettingsFailure());
      const auto before = std::chrono::system_clock::now();
      const bool isGood = hadGoodOnes && row[3] == "no";
      EXPECT_THAT(asked(), ElementsAre(isGood ? "red" : "default"));
      const auto failure = client_->quorvel->lastSettingsFailure();
      EXPECT_EQ(failure ? std::to_string(failure->error.code()) : "-", row[4]);
      const auto time = failure ? failure->time : before;
      EXPECT_TRUE(before <= time && time <= std::chrono::system_clock::now());
      EXPECT_THAT(
          log_.newLines(),
          ElementsAre(AllOf(testing::StartsWith("warn: The account's settings "), HasSubstr(row[2]),
                            HasSubstr(isGood ? "the last" : "the default"))));
      answer(200, red);
      EXPECT_THAT(asked(), ElementsAre("red"));
      EXPECT_FALSE(client_->quorvel->lastSettingsFailure());
    }
  }
}

TEST_F(SettingsTest, LetGoOfTheirCallbackWhichMayAskOrThrow) {
  setUp(std::chrono::milliseconds(0));
  answer(200, red);
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> watched = held;
  client_->quorvel->providerModule().settings()->getSettings<Colour>(
      [this, kept = std::exchange(held, nullptr)](const auto&) {
        ask();
        throw std::runtime_error("the host's own");
      });
  ask();
  EXPECT_THROW(transport_->run(), std::runtime_error);
  EXPECT_TRUE(watched.expired());
  EXPECT_THAT(settled(), ElementsAre("red", "red"));
  EXPECT_EQ(transport_->requests().size(), 2U);
}

TEST_F(SettingsTest, AreNotAnsweredAfterOneOfThoseWhoWaitHasShutDown) {
  setUp();
  answer(200, red);
  client_->quorvel->providerModule().settings()->getSettings<Colour>(
      [](const auto&) { EXPECT_TRUE(Quorvel::shutDown(generousLimit)); });
  EXPECT_THAT(asked(), IsEmpty());
}

}  // namespace
}  // namespace QuorvelCoreSDK
