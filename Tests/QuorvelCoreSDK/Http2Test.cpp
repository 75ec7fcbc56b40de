#include "Client.h"
#include "Support/TemporaryDirectory.h"

#include <cstdio>

namespace QuorvelCoreSDK {
namespace {

/// What becomes of a question whose connection or stream the server ends in some way, and how many
/// of four the server took in all.
TEST(Http2Test, WhatTheServerTookIsNotSentAgain) {
  struct Case {
    std::string way;
    bool isAnswered;
  };
  const Case cases[] = {
      {"close-connection", false},    {"reset-connection", false}, {"say-farewell", false},
      {"reset-stream-failed", false}, {"go-away-behind", false},   {"go-away-before", true},
      {"reset-stream-refused", true},
  };
  const Support::TemporaryDirectory directory;
  const auto identity = Support::makeIdentity({});
  directory.write("certificate.pem", identity.certificate);
  directory.write("key.pem", identity.key);
  for (const auto& [way, isAnswered] : cases) {
    SCOPED_TRACE(way);
    const auto command = "cd " + directory.path().string() +
                         " && " PYTHON " " TESTS_SOURCE_DIR "/QuorvelCoreSDK/http2.py " + way +
                         " certificate.pem key.pem";
    const std::unique_ptr<FILE, int (*)(FILE*)> server(popen(command.c_str(), "r"), pclose);
    int port = 0;
    ASSERT_EQ(std::fscanf(server.get(), "%d", &port), 1);

    const Client client(
        "https://127.0.0.1:" + std::to_string(port),
        {.network = {.certificateAuthorities = directory.path() / "certificate.pem"}});
    auto parameters = client.parameters();
    parameters.httpMethod = HttpMethod::post;
    parameters.body = "{}";
    for (int i = 0; i < 4; ++i) {
      const auto outcome = valueOf(Client::begin(parameters));
      const bool isMeant = i == 1 && !isAnswered;
      EXPECT_EQ(outcome.status(), isMeant ? 0 : 200) << outcome.text();
      EXPECT_EQ(outcome.code(), isMeant ? CoreErrorCode::connectionLost : CoreErrorCode{});
    }
    EXPECT_EQ(valueOf(Client::begin(client.parameters("/count"))).data, "4");
  }
}

}  // namespace
}  // namespace QuorvelCoreSDK
