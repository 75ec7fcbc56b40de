#include "Client.h"
#include "Support/Recorder.h"
#include "Support/Rows.h"

#include <QuorvelCoreSDK/internal/CachedDocument.h>
#include <QuorvelCoreSDK/internal/ServicePaths.h>
#include <QuorvelCoreSDK/internal/Surroundings.h>

#include <QuorvelCoreSDKTesting/ScriptedTransport.h>
#include <gmock/gmock.h>

#include <stdexcept>

namespace QuorvelCoreSDK {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

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

using std::chrono::milliseconds;
using namespace std::chrono_literals;

constexpr char red[] = R"({"theme":{"colour":"red"}})";

class SettingsTest : public testing::Test {
 protected:
  void setUp(milliseconds timeToLive = generousLimit,
             const std::string& address = "https://account.example") {
    const bool isScripted = address.starts_with("https");
    quorvel_ = makeQuorvel({address, "application", "client"},
                           {.settingsTimeToLive = timeToLive,
                            .transport = isScripted ? transport_ : nullptr},
                           {.now = [this] { return now_; },
                            .wallTime = [this] { return wallTime_; },
                            .chance = [this] { return chance_; }})
                   .value();
  }

  void pass(milliseconds time) {
    now_ += time;
    wallTime_ += time;
  }

  void answer(int status, std::string body) {
    transport_->answer(std::string(ServicePaths::accountSettings), status, std::move(body));
  }

  /// Asks, on this thread; every answer is added to `answers_`.
  void ask() {
    quorvel_->providerModule().settings()->getSettings<Colour>(
        [this](const std::shared_ptr<const Colour>& colour) {
          const std::lock_guard lock(mutex_);
          answers_.push_back(colour->name);
        });
  }

  /// The answers since the last call, after all that waits has run.
  std::vector<std::string> settled() {
    transport_->run();
    EXPECT_TRUE(quorvel_->waitUntilIdle(generousLimit));
    return std::exchange(answers_, {});
  }

  std::vector<std::string> asked() {
    ask();
    return settled();
  }

  const std::shared_ptr<Testing::ScriptedTransport> transport_ =
      std::make_shared<Testing::ScriptedTransport>();
  std::shared_ptr<Quorvel> quorvel_;
  std::chrono::steady_clock::time_point now_;
  std::chrono::system_clock::time_point wallTime_;
  double chance_ = 0;
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

  quorvel_->providerModule().settings()->getSettings<Colour>([](const auto&) {
    std::thread([] { EXPECT_FALSE(Quorvel::shutDown(std::chrono::milliseconds(0))); }).join();
  });
  EXPECT_TRUE(Quorvel::initialize({"https://account.example", "", ""}));  // for those that follow
}

TEST_F(SettingsTest, AreDecodedOnceForEachTypeOfRecord) {
  setUp();
  answer(200, red);
  std::vector<std::shared_ptr<const PellixPlatform::Object>> records;
  const auto keep = [&](auto record) { records.push_back(std::move(record)); };
  const auto settings = quorvel_->providerModule().settings();
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

TEST_F(SettingsTest, AreKeptForAsLongAsTheHostSaysLessUpToATenth) {
  const std::tuple<milliseconds, double, milliseconds> cases[] = {
      {milliseconds::min(), 0, 0ms},
      {0ms, 0.5, 0ms},
      {100s, 0, 100s},
      {100s, 0.5, 95s},
      {100s, 0.99, 90'100ms},
      {milliseconds::max(), 0, std::chrono::hours(24 * 365)}};
  for (const auto& [timeToLive, chance, kept] : cases) {
    chance_ = chance;
    setUp(timeToLive);
    answer(200, red);
    const auto before = transport_->requests().size();
    const auto fetches = [&] {
      EXPECT_THAT(asked(), ElementsAre("red"));
      return transport_->requests().size() - before;
    };
    EXPECT_EQ(fetches(), 1U);
    if (kept > 0ms) pass(kept - 1ms);
    EXPECT_EQ(fetches(), kept > 0ms ? 1U : 2U);
    pass(1ms);
    EXPECT_EQ(fetches(), kept > 0ms ? 2U : 3U) << kept.count();
  }
}

TEST_F(SettingsTest, ServeForLongerAfterEachFailureInARowButOnlyWhileThereAreAny) {
  for (const double chance : {0.0, 0.5}) {
    chance_ = chance;
    setUp(0ms);
    answer(503, "");
    for (auto before = transport_->requests().size(), i = before; i < before + 3; ++i) {
      EXPECT_THAT(asked(), ElementsAre("default"));
      EXPECT_EQ(transport_->requests().size(), i + 1);
    }
    for (const bool isAgain : {false, true}) {
      answer(200, red);
      EXPECT_THAT(asked(), ElementsAre("red"));
      answer(503, "");
      for (const auto pause : {2s, 4s, 8s, 16s, 32s, 60s, 60s}) {
        const auto spread = milliseconds(pause) * (chance > 0 ? 3 : 4) / 4;
        const auto before = transport_->requests().size();
        EXPECT_THAT(asked(), ElementsAre("red"));
        pass(spread - 1ms);
        EXPECT_THAT(asked(), ElementsAre("red"));
        EXPECT_EQ(transport_->requests().size(), before + 1) << pause.count() << isAgain;
        pass(1ms);
      }
    }
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
      setUp(0ms);
      if (hadGoodOnes) {
        answer(200, red);
        EXPECT_THAT(asked(), ElementsAre("red"));
      }
      answer(std::stoi(row[0]), row[1]);
      if (row[0] == "0") transport_->fail(std::string(ServicePaths::accountSettings));
      if (row[0] == "-1") {
        transport_->answer(std::string(ServicePaths::accountSettings),
                           [](const auto&) { return TransportReply(); });
      }
      EXPECT_FALSE(quorvel_->lastSettingsFailure());
      const bool isGood = hadGoodOnes && row[3] == "no";
      EXPECT_THAT(asked(), ElementsAre(isGood ? "red" : "default"));
      const auto failure = quorvel_->lastSettingsFailure();
      EXPECT_EQ(failure ? std::to_string(failure->error.code()) : "-", row[4]);
      EXPECT_EQ(failure ? failure->time : wallTime_, wallTime_);
      EXPECT_THAT(log_.newLines(),
                  ElementsAre(AllOf(StartsWith("warn: The account's settings "), HasSubstr(row[2]),
                                    HasSubstr(isGood ? "the last" : "the default"))));
      answer(200, red);
      pass(2s);
      EXPECT_THAT(asked(), ElementsAre("red"));
      EXPECT_FALSE(quorvel_->lastSettingsFailure());
    }
  }
}

/// A server that has validators for its replies, and answers with what it is asked for.
TEST_F(SettingsTest, AreConfirmedByTheirValidatorIfItIsOne) {
  using namespace std::string_literals;
  const std::pair<std::string, bool> fieldsAndWhetherTheyAreUsed[] = {
      {"ETag: \"!~\"", true},
      {"etag: W/\"\xe9\"", true},
      {"ETag: \"" + std::string(1022, 'x') + "\"", true},
      {"ETag: \"" + std::string(1023, 'x') + "\"", false},
      {"ETag: v1", false},
      {"ETag: \"v 1\"", false},
      {"ETag: \"\x7F\"", false},
      {"ETag: \"v1\"\r\nETag: \"v2\"", false},
      {"ETag: \"", false},
      {"ETag: W/\"v1", false}};
  for (const auto& [field, isUsed] : fieldsAndWhetherTheyAreUsed) {
    std::string heard;  // the first letter of each reply
    bool isReplaced = false;
    const Support::LoopbackServer server([&](const Support::LoopbackRequest& request) {
      const auto tag = field.substr(field.find(' ') + 1);
      const bool isKnown = request.head.contains("If-None-Match: " + tag + "\r\n");
      EXPECT_EQ(isKnown, request.head.contains("If-None-Match"));
      EXPECT_TRUE(request.head.contains("X-Quorvel-Client: QuorvelCore\r\n"));
      heard += isKnown ? "N" : "O";
      if (isReplaced) return Support::LoopbackReply{Support::httpReply("200 OK", "{}")};
      return Support::LoopbackReply{isKnown ? "HTTP/1.1 304 Not Modified\r\n\r\n"
                                            : Support::httpReply("200 OK", red, field + "\r\n")};
    });
    setUp(100s, server.origin());
    const auto askAfter = [&](milliseconds time) {
      pass(time);
      EXPECT_THAT(asked(), ElementsAre("red"));
    };
    askAfter(0s);
    askAfter(100s);
    askAfter(99s);  // renewed
    askAfter(1s);
    EXPECT_EQ(heard, isUsed ? "ONN" : "OOO") << field;
    for (const int sign : {1, -1}) {
      wallTime_ += sign * 1min;  // as if set right
      askAfter(0s);
      heard += ".";
      wallTime_ += sign * 1ms;  // the device has slept, or was set to another time
      askAfter(0s);
      askAfter(100s);
    }
    now_ -= 1ms;
    askAfter(0s);
    EXPECT_EQ(heard, isUsed ? "ONN.ON.ONO" : "OOO.OO.OOO") << field;
    isReplaced = true;
    pass(100s);
    EXPECT_THAT(asked(), ElementsAre("default"));
  }
}

TEST_F(SettingsTest, ArePreparedBeforeSomebodyAsks) {
  setUp(100s);
  const auto requests = [&] { return transport_->requests().size(); };
  quorvel_->prepare();
  quorvel_->prepare();
  transport_->run();
  EXPECT_EQ(requests(), 1U);
  EXPECT_THAT(log_.newLines(),
              ElementsAre(StartsWith("warn: Could not prepare: The account's settings could")));
  EXPECT_TRUE(quorvel_->lastSettingsFailure());

  answer(200, red);
  quorvel_->prepare();
  ask();
  EXPECT_THAT(settled(), ElementsAre("red"));
  quorvel_->prepare();
  EXPECT_THAT(asked(), ElementsAre("red"));
  EXPECT_EQ(requests(), 2U);
  pass(5s - 1ms);
  quorvel_->prepare();
  EXPECT_EQ(requests(), 2U);
  pass(1ms);  // the server may have closed the connection
  quorvel_->prepare();
  ask();
  EXPECT_THAT(answers_, ElementsAre("red"));
  EXPECT_THAT(settled(), ElementsAre("red"));
  EXPECT_EQ(requests(), 3U);

  answer(503, "");
  for (const auto time : {5s, 95s}) {  // still fresh, and due
    pass(time);
    quorvel_->prepare();
    transport_->run();
    EXPECT_THAT(log_.newLines(), ElementsAre(HasSubstr("Could not prepare")));
    quorvel_->prepare();
    EXPECT_THAT(asked(), ElementsAre("red"));
    pass(time == 5s ? 4s : 4s - 1ms);
    EXPECT_THAT(asked(), ElementsAre("red"));
  }
  EXPECT_EQ(requests(), 5U);
  pass(1ms);
  quorvel_->prepare();
  ask();
  EXPECT_THAT(settled(), ElementsAre("red"));
  EXPECT_EQ(requests(), 6U);
  EXPECT_THAT(log_.newLines(), ElementsAre(HasSubstr("the last ones are used instead")));
}

TEST_F(SettingsTest, ArePreparedBehindThoseOfOtherLibraries) {
  setUp();
  const auto other = CachedDocument::make({.environment = quorvel_->accountDetails(),
                                           .path = "/other",
                                           .name = "Others",
                                           .withoutRecord = "none is used",
                                           .clientHeaders = makeClientHeaders("Other", "1")});
  auto prepared = [&, before = std::size_t{0}]() mutable {
    quorvel_->prepare();
    transport_->run();
    std::string sent;
    const auto requests = transport_->requests();
    for (; before < requests.size(); ++before) {
      sent += requests[before].waitsForConnection ? "+" : "";
      sent += requests[before].url.string().back();
    }
    return sent;
  };
  EXPECT_EQ(prepared(), "r+s");
  EXPECT_THAT(log_.newLines(), ElementsAre(StartsWith("warn: Could not prepare: Others")));
  answer(200, red);
  EXPECT_EQ(prepared(), "r+s");
  pass(5s);
  EXPECT_EQ(prepared(), "r");
  other->setIsPrepared(false);
  EXPECT_EQ(prepared(), "s");
}

TEST_F(SettingsTest, LetGoOfTheirCallbackWhichMayAskOrThrow) {
  setUp(0ms);
  answer(200, red);
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> watched = held;
  quorvel_->providerModule().settings()->getSettings<Colour>(
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
  quorvel_->providerModule().settings()->getSettings<Colour>(
      [](const auto&) { EXPECT_TRUE(Quorvel::shutDown(generousLimit)); });
  EXPECT_THAT(asked(), IsEmpty());
  EXPECT_THAT(asked(), IsEmpty());  // of what is at hand
  pass(generousLimit);
  quorvel_->prepare();
  EXPECT_EQ(transport_->requests().size(), 1U);
}

}  // namespace
}  // namespace QuorvelCoreSDK
