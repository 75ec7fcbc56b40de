#include "Faults/Application.h"
#include "PackagedServer.h"

#include <gmock/gmock.h>

#include <atomic>
#include <map>
#include <thread>

namespace Servers {

/// Names a test.
static void PrintTo(const ServerOptions& options, std::ostream* out) {
  *out << (options.program == Program::nginx ? "nginx" : "apache")
       << (options.speaksHttp2 ? "Http2" : "Http1") << (options.speaksTls13 ? "Tls13" : "Tls12");
}

namespace {

using PellixPlatform::DispatchQueue;
using testing::IsEmpty;

std::size_t given(const char* variable, std::size_t otherwise) {
  const char* const text = std::getenv(variable);
  return text ? std::stoul(text) : otherwise;
}

const std::size_t questions = given("PELLIX_QUESTIONS", 20);

/// A server, an application that asks it, and what became of the questions. Each question is one
/// byte longer than the one before: by its length it is known in the server's log.
class Conversation {
 public:
  explicit Conversation(const ServerOptions& options)
      : server(options),
        application_(server.origin(),
                     {.network = {.certificateAuthorities = server.certificate()}}) {
    askOnce();
  }

  void askOnce() {
    askWhile([last = asked + 1, this] { return asked < last; });
  }

  /// Keeps some questions under way while `goesOn` says so.
  void askWhile(const std::function<bool()>& goesOn, std::size_t atOnce = 1) {
    goesOn_ = goesOn;
    for (underWay_ = atOnce; atOnce > 0; --atOnce) askNext();
    DispatchQueue::main().run();
  }

  /// How often the server received each question.
  [[nodiscard]] std::map<std::size_t, std::size_t> received() {
    EXPECT_TRUE(application_.becomesIdle());
    server.stop();
    std::map<std::size_t, std::size_t> counts;
    const auto lengths = server.bodiesReceivedAt(std::string(Faults::paths[0]));
    for (const auto length : lengths) ++counts[length - *lengths.begin() + 1];
    return counts;
  }

  PackagedServer server;
  std::size_t asked = 0;
  std::map<std::size_t, std::string> unanswered;

 private:
  void askNext() {
    if (!goesOn_()) {
      if (--underWay_ == 0) DispatchQueue::main().stop();
      return;
    }
    const auto length = ++asked;
    const auto atEnd = [this, length](const Faults::Calls& calls) {
      const auto ending = Faults::textOf(calls);
      DispatchQueue::main().post([this, length, ending] {
        if (ending != Faults::success) unanswered.emplace(length, ending);
        askNext();
      });
    };
    Faults::start(0, atEnd, std::string(length, '?'));
  }

  const Faults::Application application_;
  std::function<bool()> goesOn_;
  std::size_t underWay_ = 0;
};

/// Every question was received, and none was twice.
void expectEachReceivedOnce(Conversation& conversation) {
  const auto received = conversation.received();
  EXPECT_EQ(received.size(), conversation.asked);
  for (const auto& [question, times] : received) EXPECT_EQ(times, 1U) << question;
}

constexpr auto nginx = Program::nginx;
constexpr auto apache = Program::apache;

class PackagedServerTest : public testing::TestWithParam<ServerOptions> {};

TEST_P(PackagedServerTest, DISABLED_QuestionsAfterThePauseThatItEndsConnectionsInAreAnswered) {
  auto options = GetParam();
  if (questions > 20) options.keepAlive = std::chrono::seconds(2);
  Conversation conversation(options);
  while (conversation.asked < questions) {
    if (conversation.asked % 2 == 0) conversation.server.waitUntilAllAreClosed();
    conversation.askOnce();
  }
  EXPECT_THAT(conversation.unanswered, IsEmpty());
  expectEachReceivedOnce(conversation);
}

TEST_P(PackagedServerTest, DISABLED_QuestionsThatItLeavesToANewConnectionAreAnswered) {
  auto options = GetParam();
  options.keepAlive = std::chrono::minutes(1);
  options.requestsPerConnection = 50;
  Conversation conversation(options);
  conversation.askWhile([&] { return conversation.asked < 30 * questions; }, 64);
  EXPECT_THAT(conversation.unanswered, IsEmpty());
  expectEachReceivedOnce(conversation);
}

TEST_P(PackagedServerTest, DISABLED_QuestionsWithoutAnAnswerWhileItReloadsWereReceived) {
  auto options = GetParam();
  options.keepAlive = std::chrono::minutes(1);
  Conversation conversation(options);
  std::atomic<bool> reloads = true;
  std::thread reloader([&] {
    for (std::size_t i = 0; i < questions; ++i) conversation.server.reload();
    reloads = false;
  });
  conversation.askWhile([&reloads] { return reloads.load(); }, 16);
  reloader.join();
  const auto received = conversation.received();
  for (const auto& [question, times] : received) EXPECT_EQ(times, 1U) << question;
  for (const auto& [question, ending] : conversation.unanswered) {
    EXPECT_TRUE(received.contains(question)) << question << " ended with " << ending;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Servers, PackagedServerTest,
    testing::Values(ServerOptions{nginx, false, false}, ServerOptions{nginx, false, true},
                    ServerOptions{nginx, true, true}, ServerOptions{apache, false, false},
                    ServerOptions{apache, false, true}, ServerOptions{apache, true, false}),
    testing::PrintToStringParamName());

}  // namespace
}  // namespace Servers
