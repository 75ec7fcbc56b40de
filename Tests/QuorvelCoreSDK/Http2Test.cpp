#include "Client.h"
#include "Support/PseudoTerminal.h"
#include "Support/TemporaryDirectory.h"

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

}  // namespace
}  // namespace QuorvelCoreSDK
