#include "Conversation.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace Servers {

/// Names a test.
static void PrintTo(const ServerOptions& options, std::ostream* out) {
  *out << (options.program == Program::nginx ? "nginx" : "apache")
       << (options.speaksHttp2 ? "Http2" : "Http1") << (options.speaksTls13 ? "Tls13" : "Tls12");
}

namespace {

using testing::IsEmpty;

std::size_t given(const char* variable, std::size_t otherwise) {
  const char* const text = std::getenv(variable);
  return text ? std::stoul(text) : otherwise;
}

const std::size_t questions = given("PELLIX_QUESTIONS", 20);

/// Every question was received, and none was twice.
void expectEachReceivedOnce(Conversation& conversation) {
  const auto received = conversation.received();
  EXPECT_EQ(received.size(), conversation.asked);
  for (const auto& [question, times] : received) EXPECT_EQ(times, 1U) << question;
}

/// That of IPv6, where there is one.
std::string addressOf6() {
  try {
    const Support::LoopbackServer server([](const auto&) { return Support::LoopbackReply{}; },
                                         {.isIPv6 = true});
    return "[::1]";
  } catch (const std::runtime_error&) {
    return "127.0.0.1";
  }
}

using enum Program;

class PackagedServerTest : public testing::TestWithParam<ServerOptions> {};

TEST_P(PackagedServerTest, AQuestionAfterItClosedItsConnectionIsAnswered) {
  auto options = GetParam();
  if (questions > 20) options.keepAlive = std::chrono::seconds(2);
  Conversation conversation(options);
  while (conversation.asked < questions) {
    if (conversation.asked % 2 == 0) conversation.server.waitUntilAllAreClosed();
    conversation.askOnce();
  }
  conversation.server.waitUntilAllAreClosed();
  conversation.server.waitUntilNoneIsHalfClosed();
  EXPECT_THAT(conversation.unanswered, IsEmpty());
  expectEachReceivedOnce(conversation);
}

TEST_P(PackagedServerTest, QuestionsBeyondAConnectionsLastAreAnswered) {
  auto options = GetParam();
  options.keepAlive = std::chrono::minutes(1);
  options.requestsPerConnection = 50;
  Conversation conversation(options);
  conversation.askWhile([&] { return conversation.asked < 30 * questions; }, 64);
  EXPECT_THAT(conversation.unanswered, IsEmpty());
  expectEachReceivedOnce(conversation);
}

TEST_P(PackagedServerTest, WhileItReloadsNoQuestionIsReceivedTwice) {
  auto options = GetParam();
  options.keepAlive = std::chrono::minutes(1);
  Conversation conversation(options);
  std::atomic<bool> reloads = true;
  std::thread reloader([&] {
    for (int i = 0; i < 20; ++i) conversation.server.reload();
    reloads = false;
  });
  conversation.askWhile([&reloads] { return reloads.load(); }, 16);
  reloader.join();
  const auto received = conversation.received();
  for (const auto& [question, times] : received) EXPECT_EQ(times, 1U) << question;
  for (const auto& [question, ending] : conversation.unanswered) {
    EXPECT_EQ(ending, Faults::lost);
    // Over HTTP/2 it says which it has left out: those are asked again. Over HTTP/1.1 a request may
    // be on its way when it closes the connection, and nobody can tell.
    EXPECT_TRUE(!options.speaksHttp2 || received.contains(question)) << question;
  }
}

// Over HTTP/2, apache answers with a file before it has the question that it does not read, as it
// may (RFC 9113, section 8.1), and libcurl 7.88 loses such an answer. So it is asked over HTTP/1.1.
INSTANTIATE_TEST_SUITE_P(
    Servers, PackagedServerTest,
    testing::Values(ServerOptions{nginx, false, false}, ServerOptions{nginx, false, true},
                    ServerOptions{.speaksHttp2 = true, .address = addressOf6()},
                    ServerOptions{apache, false, false}, ServerOptions{apache, false, true}),
    testing::PrintToStringParamName());

}  // namespace
}  // namespace Servers
