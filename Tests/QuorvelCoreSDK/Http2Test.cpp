#include "Client.h"
#include "Support/PseudoTerminal.h"
#include "Support/TemporaryDirectory.h"

#include <QuorvelCoreSDK/internal/CachedDocument.h>

namespace QuorvelCoreSDK {
namespace {

/// What becomes of a question whose connection or stream the server ends in some way, and how many
/// of four the server took in all.
TEST(Http2Test, WhatTheServerTookIsNotSentAgain) {
  const std::pair<std::string, bool> waysAndWhetherItIsAnswered[] = {
      {"close-connection", false},    {"reset-connection", false}, {"say-farewell", false},
      {"reset-stream-failed", false}, {"go-away-behind", false},   {"go-away-before", true},
      {"reset-stream-refused", true},
  };
  const Support::TemporaryDirectory directory;
  const auto identity = Support::makeIdentity({});
  directory.write("identity.pem", identity.certificate + identity.key);
  const auto file = directory.path() / "identity.pem";
  for (const auto& [way, isAnswered] : waysAndWhetherItIsAnswered) {
    // Debian's own Python has the package for HTTP/2.
    Support::PseudoTerminal server(
        {"/usr/bin/python3", TESTS_SOURCE_DIR "/QuorvelCoreSDK/http2.py", way, file}, {});
    const int port = std::stoi(server.readUntil("\n"));
    const Client client("https://127.0.0.1:" + std::to_string(port),
                        {.network = {.certificateAuthorities = file}});
    auto parameters = client.parameters();
    parameters.httpMethod = HttpMethod::post;
    parameters.body = "{}";
    std::string heard;
    for (int i = 0; i < 4; ++i) {
      const auto outcome = valueOf(Client::begin(parameters));
      const bool isLost = outcome.code() == CoreErrorCode::connectionLost;
      heard += isLost ? "lost " : outcome.data.value_or(outcome.text()) + " ";
    }
    EXPECT_EQ(heard, isAnswered ? "1 2 3 4 " : "1 lost 3 4 ") << way;
  }
}

/// A server for each protocol that answers with how many requests it has taken; the one for HTTP/2
/// has no time for a second connection.
TEST(Http2Test, WhatIsPreparedAndTheQuestionAfterItTakeOneConnection) {
  const Support::TemporaryDirectory directory;
  const auto identity = Support::makeIdentity({});
  directory.write("identity.pem", identity.certificate + identity.key);
  const auto file = directory.path() / "identity.pem";
  Support::PseudoTerminal multiplexing(
      {"/usr/bin/python3", TESTS_SOURCE_DIR "/QuorvelCoreSDK/http2.py", "answer", file}, {});
  const int port = std::stoi(multiplexing.readUntil("\n"));
  int taken = 0;
  const Support::LoopbackServer plain(
      [&taken](const auto&) {
        return Support::LoopbackReply{Support::httpReply("200 OK", std::to_string(++taken))};
      },
      {.identity = identity});
  for (const auto& origin : {"https://127.0.0.1:" + std::to_string(port), plain.origin()}) {
    const Client client(origin, {.network = {.certificateAuthorities = file}});
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
