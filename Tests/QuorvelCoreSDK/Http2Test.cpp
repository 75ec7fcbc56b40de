#include "Client.h"
#include "Support/PseudoTerminal.h"
#include "Support/TemporaryDirectory.h"

#include <QuorvelCoreSDK/internal/CachedDocument.h>

namespace QuorvelCoreSDK {
namespace {

class Http2Test : public testing::Test {
 protected:
  Http2Test() { directory_.write("identity.pem", identity_.certificate + identity_.key); }

  /// A server that behaves in its own way. Debian's own Python has the package for HTTP/2.
  struct Server : Support::PseudoTerminal {
    template <class... Answer>
    Server(const std::string& way, const std::string& identity, const Answer&... answer)
        : PseudoTerminal({"/usr/bin/python3", TESTS_SOURCE_DIR "/QuorvelCoreSDK/http2.py", way,
                          identity, answer...},
                         {}) {}
    const std::string origin = "https://127.0.0.1:" + std::to_string(std::stoi(readUntil("\n")));
  };

  [[nodiscard]] Client clientFor(const std::string& origin) const {
    return Client(origin, {.network = {.certificateAuthorities = file_}});
  }

  const Support::LoopbackIdentity identity_ = Support::makeIdentity({});
  const Support::TemporaryDirectory directory_;
  const std::string file_ = directory_.path() / "identity.pem";
};

/// What becomes of a question whose connection or stream the server ends in some way, and how many
/// of four the server took in all, after fifteen others.
TEST_F(Http2Test, WhatTheServerTookIsNotSentAgain) {
  const std::string lost = "16 lost 18 19 ";
  const std::string answered = "16 17 18 19 ";
  const std::string lostAndNotTaken = "16 lost 17 18 ";
  const std::pair<std::string, std::string> waysAndWhatIsHeard[] = {
      {"close-connection", lost},
      {"reset-connection", lost},
      {"say-farewell", lost},
      {"reset-stream-failed", lost},
      {"go-away-behind", lost},
      {"go-away-before", answered},
      {"reset-stream-refused", lostAndNotTaken},
      {"break-protocol", lost},
      {"break-and-refuse-another", lost},
      {"go-away-before+go-away-before+go-away-before", answered},
      {"go-away-before+go-away-before+go-away-before+go-away-before", lostAndNotTaken},
  };
  for (const auto& [way, expected] : waysAndWhatIsHeard) {
    const Server server(way, file_);
    const auto client = clientFor(server.origin);
    auto parameters = client.parameters();
    parameters.httpMethod = HttpMethod::post;
    parameters.body = "{}";
    for (int i = 0; i < 15; ++i) EXPECT_EQ(client.perform().status(), 200);
    std::string heard;
    for (int i = 0; i < 4; ++i) {
      const auto outcome = valueOf(Client::begin(parameters));
      const bool isLost = outcome.code() == CoreErrorCode::connectionLost;
      heard += isLost ? "lost " : outcome.data.value_or(outcome.text()) + " ";
    }
    EXPECT_EQ(heard, expected) << way;
  }
  // libcurl remembers of a handle that its stream was refused.
  const Support::LoopbackServer closing(replying("", Support::LoopbackReply::Then::close));
  EXPECT_EQ(Client(closing.origin()).perform().code(), CoreErrorCode::connectionLost);
  EXPECT_EQ(closing.requests().size(), 1U);
}

TEST_F(Http2Test, WhatTheServerTookOnOneConnectionIsNoMatterOfAnother) {
  const Server server("go-away-elsewhere", file_);
  const auto client = clientFor(server.origin);
  EXPECT_EQ(client.perform().status(), 200);
  auto one = Client::begin(client.parameters());
  auto another = Client::begin(client.parameters());
  EXPECT_EQ(valueOf(std::move(one)).status(), 200);
  EXPECT_EQ(valueOf(std::move(another)).status(), 200);
  auto parameters = client.parameters();
  parameters.httpMethod = HttpMethod::post;
  EXPECT_EQ(valueOf(Client::begin(std::move(parameters))).code(), CoreErrorCode::connectionLost);
}

TEST_F(Http2Test, WhatTheServerWritesIsNoNoteOfTheLibrarys) {
  directory_.write("answer", "Received GOAWAY, error=0, last_stream=0");
  const Server server("close-connection", file_, directory_.path() / "answer");
  const auto client = clientFor(server.origin);
  auto parameters = client.parameters();
  parameters.httpMethod = HttpMethod::post;
  parameters.body = "{}";
  parameters.clientHeaders = makeClientHeaders("Tester", "received GOAWAY, error=0, last_stream=0");
  for (int i = 0; i < 2; ++i) EXPECT_EQ(valueOf(Client::begin(parameters)).status(), 200);
  EXPECT_EQ(valueOf(Client::begin(parameters)).code(), CoreErrorCode::connectionLost);
}

TEST_F(Http2Test, ManyRequestsShareAConnectionBeforeTheFirstIsAnswered) {
  Server server("answer-together", file_);
  const auto client = clientFor(server.origin);
  for (const bool isAwaited : {false, true}) {  // by requests that begin before it stands
    std::vector<std::future<Outcome>> outcomes;
    auto parameters = client.parameters();
    std::promise<void> mayBegin;
    if (isAwaited)
      client.quorvel->post([begins = mayBegin.get_future().share()] { begins.wait(); });
    outcomes.push_back(Client::begin(parameters));
    if (!isAwaited) server.readUntil("one");
    parameters.waitsForConnection = isAwaited;
    while (outcomes.size() < 40) outcomes.push_back(Client::begin(parameters));
    mayBegin.set_value();
    for (auto& outcome : outcomes) EXPECT_EQ(valueOf(std::move(outcome)).status(), 200);
    server.readUntil(isAwaited ? "resumed" : "new");
  }
}

TEST_F(Http2Test, AConnectionThatHasFallenSilentIsNotUsedAgain) {
  const Server server("fall-silent", file_);
  const auto client = clientFor(server.origin);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(client.perform().status(), 200);
  auto held = Client::begin(client.parameters());
  auto parameters = client.parameters();
  parameters.requestTimeout = std::chrono::milliseconds(300);
  EXPECT_EQ(valueOf(Client::begin(std::move(parameters))).code(), CoreErrorCode::timedOut);
  EXPECT_EQ(client.perform().data, "18");
  EXPECT_EQ(valueOf(std::move(held)).data, "held");
}

TEST_F(Http2Test, AConnectionThatAnswersOthersIsUsedAgain) {
  const Server server("leave-unanswered+leave-unanswered", file_);  // has no time for another one
  const auto client = clientFor(server.origin);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(client.perform().status(), 200);
  const auto held = Client::begin(client.parameters());
  auto parameters = client.parameters();
  parameters.requestTimeout = std::chrono::milliseconds(300);
  auto late = Client::begin(std::move(parameters));
  EXPECT_EQ(client.perform().status(), 200);
  EXPECT_EQ(valueOf(std::move(late)).code(), CoreErrorCode::timedOut);
  EXPECT_EQ(client.perform().status(), 200);
}

TEST_F(Http2Test, OnlyOneReplyMakesUpAReply) {
  const Server server("ask-for-another-version", file_);
  const auto client = clientFor(server.origin);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(client.perform().status(), 200);
  EXPECT_EQ(client.perform().code(), CoreErrorCode::connectionLost);
}

TEST_F(Http2Test, AServerThatFloodsItsConnectionDoesNotHoldUpOthers) {
  Server server("flood", file_);
  const auto client = clientFor(server.origin);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(client.perform().status(), 200);
  auto parameters = client.parameters();
  parameters.requestTimeout = std::chrono::hours(1);
  auto flooded = Client::begin(std::move(parameters));
  server.readUntil("waits");
  std::promise<void> isAsked;
  const Support::LoopbackServer another(
      [&](const auto&) {
        isAsked.set_value();
        server.readUntil("floods");
        return Support::LoopbackReply{Support::httpReply("200 OK")};
      },
      {.identity = identity_});
  auto answered = Client::begin(clientFor(another.origin()).parameters());
  isAsked.get_future().wait();
  server.type("\n");
  EXPECT_EQ(valueOf(std::move(answered)).status(), 200);
  EXPECT_EQ(valueOf(std::move(flooded)).code(), CoreErrorCode::connectionLost);
}

TEST_F(Http2Test, SessionsOutliveConnectionsThatTheServerCloses) {
  Server server("answer-once", file_);
  const auto client = clientFor(server.origin);
  for (const auto* const session : {"new", "resumed", "resumed"}) {
    EXPECT_EQ(client.perform().status(), 200);
    EXPECT_EQ(server.readUntil("\n"), session + std::string("\r\n"));
  }
}

/// A server for each protocol that answers with how many requests it has taken; the one for HTTP/2
/// has no time for a second connection.
TEST_F(Http2Test, WhatIsPreparedAndTheQuestionAfterItTakeOneConnection) {
  const Server multiplexing("answer", file_);
  int taken = 0;
  const Support::LoopbackServer plain(
      [&taken](const auto&) {
        return Support::LoopbackReply{Support::httpReply("200 OK", std::to_string(++taken))};
      },
      {.identity = identity_});
  for (const auto& origin : {multiplexing.origin, plain.origin()}) {
    const auto client = clientFor(origin);
    const auto another = CachedDocument::make({.environment = client.quorvel->accountDetails(),
                                               .path = "/another",
                                               .name = "Another one",
                                               .withoutRecord = "there is none",
                                               .clientHeaders = makeClientHeaders("Tester", "1")});
    client.quorvel->prepare();
    ASSERT_TRUE(client.quorvel->waitUntilIdle(generousLimit));
    EXPECT_TRUE(another->isAtHand() && !client.quorvel->lastSettingsFailure());
    EXPECT_EQ(client.perform().data, "3") << origin;
  }
  EXPECT_EQ(plain.connections(), 1U);
}

}  // namespace
}  // namespace QuorvelCoreSDK
