#include "Client.h"
#include "Support/Recorder.h"
#include "Support/Rows.h"
#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/internal/File.h>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <netdb.h>

#include <latch>
#include <regex>

namespace {

std::latch resolverMayGoOn{1};

}  // namespace

/// In place of the system's, so that no test asks a name server: ".invalid" names are unknown, and
/// one of them takes its time.
extern "C" int getaddrinfo(const char* node, const char* service, const addrinfo* hints,
                           addrinfo** result) {
  static const auto system =
      reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
  const std::string_view name(node ? node : "");
  if (name == "slow.invalid") resolverMayGoOn.wait();
  if (name.ends_with(".invalid")) return EAI_NONAME;
  return system(node, service, hints, result);
}

namespace QuorvelCoreSDK {
namespace {

using Support::httpReply;
using Support::LoopbackReply;
using Support::LoopbackServer;
using testing::HasSubstr;
using Then = LoopbackReply::Then;

constexpr std::size_t largest = 100'000;

std::string replaced(const std::string& text, const char* mark, const std::string& by) {
  return std::regex_replace(text, std::regex(mark), by);
}

TEST(ReplyTest, IsHandedOnAsItCame) {
  const std::string full(largest, 'a');
  for (const auto& row : Support::rowsOf("QuorvelCoreSDK/Data/Replies.txt")) {
    SCOPED_TRACE(row[0]);
    const LoopbackServer server(replying(replaced(row[0], "\\{full\\}", full),
                                         row[1] == "close" ? Then::close : Then::keep));
    const Client client(server.origin(), {.network = {.maxResponseBytes = largest}});
    const auto outcome = client.perform();
    EXPECT_FALSE(outcome.error) << outcome.text();
    EXPECT_EQ(std::to_string(outcome.status()), row[2]);
    EXPECT_EQ(outcome.data.value_or("-"), replaced(row[3], "\\{full\\}", full));
    EXPECT_EQ(server.requests().size(), 1U);
  }
}

TEST(ReplyTest, ComesOverIPv6) {
  std::optional<LoopbackServer> server;
  try {
    server.emplace(replying(httpReply("200 OK")), LoopbackServer::Options{.isIPv6 = true});
  } catch (const std::runtime_error& reason) {
    GTEST_SKIP() << reason.what();
  }
  EXPECT_EQ(Client(server->origin()).perform().status(), 200);
}

TEST(ReplyTest, BringsItsOwnHeaderFieldsOnly) {
  const LoopbackServer server(
      replying("HTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\nHTTP/1.1 200 OK\r\nX-Blank:\r\n"
               "X-Trimmed: \t a:b \t\r\nX-Two: 1\r\nx-two: 2\r\nTransfer-Encoding: chunked\r\n\r\n"
               "2\r\n{}\r\n0\r\nX-Two: 3\r\nX-Trailer: 1\r\n\r\n"));
  const auto outcome = Client(server.origin()).perform();
  const PellixPlatform::HTTPURLResponse::HeaderFields expected{
      {"Transfer-Encoding", "chunked"}, {"X-Blank", ""}, {"X-Trimmed", "a:b"}, {"X-Two", "1, 2"}};
  EXPECT_EQ(outcome.response->allHeaderFields(), expected);
}

TEST(ReplyTest, ThatIsNoneEndsInAnErrorThatSaysWhy) {
  const std::map<std::string, Then> endings{{"close", Then::close},
                                            {"reset", Then::reset},
                                            {"stall", Then::stall},
                                            {"repeat", Then::repeat}};
  const auto zeros = PellixPlatform::readFile(COMPRESSED_ZEROS).value();
  const Support::LogRecorder log;
  for (const auto& row : Support::rowsOf("QuorvelCoreSDK/Data/Faults.txt")) {
    SCOPED_TRACE(row[0]);
    const auto is = [&row](const char* how) { return row[1].contains(how); };
    LoopbackReply reply{replaced(row[4], "\\{huge\\}", std::string(largest + 1, 'a'))};
    if (const auto at = reply.bytes.find("{zeros}"); at != std::string::npos) {
      reply.bytes.replace(at, std::string::npos, zeros);
    }
    for (const auto& [name, then] : endings) {
      if (is(name.c_str())) reply.then = then;
    }
    const LoopbackServer server(
        [&reply](const auto&) { return reply; },
        {.answersUnasked = is("unasked"), .isDeaf = is("deaf"), .isFull = is("full")});
    Configuration configuration{.network = {.maxResponseBytes = largest}};
    if (row[2] == "9") configuration.network.requestTimeout = std::chrono::milliseconds(1000);
    auto address = server.origin();
    if (is("TLS")) address.insert(4, "s");
    const auto outcome = Client(address, configuration).perform();
    EXPECT_THAT(row[2], HasSubstr(std::to_string(std::to_underlying(outcome.code()))));
    EXPECT_EQ(outcome.response, nullptr);
    EXPECT_EQ(outcome.data, std::nullopt);
    const auto text = outcome.text();
    EXPECT_EQ(text.find(makeCoreError(outcome.code()).description()), 0U) << text;
    EXPECT_THAT(text, HasSubstr(row[3]));
    EXPECT_THAT(text, testing::Not(HasSubstr(secret)));
    const auto requests = server.requests();
    EXPECT_EQ(requests.size(), is("unasked") || is("deaf") || is("full") ? 0U : 1U);
    for (const auto& request : requests) EXPECT_FALSE(request.head.contains("Accept-Encoding"));
  }
  for (const auto& line : log.lines()) EXPECT_THAT(line, testing::Not(HasSubstr(secret)));
}

TEST(ReplyTest, IsNotHeldUpByASlowNameOrAStalledNeighbour) {
  const auto answer = [](const auto& request) {
    if (request.head.starts_with("GET /stall")) return LoopbackReply{"", Then::stall};
    return LoopbackReply{httpReply("200 OK")};
  };
  const auto identity = Support::makeIdentity({});
  const Support::TemporaryDirectory directory;
  directory.write("trusted.pem", identity.certificate);
  const LoopbackServer plain(answer);
  const LoopbackServer secure(answer, {.identity = identity});
  const Client nowhere("https://slow.invalid",
                       {.network = {.requestTimeout = std::chrono::milliseconds(300)}});
  for (const auto* server : {&plain, &secure}) {
    const Client client(server->origin(),
                        {.network = {.certificateAuthorities = directory.path() / "trusted.pem"}});
    auto stalled = Client::begin(client.parameters("/stall"));
    ASSERT_TRUE(server->waitForRequests(1));
    EXPECT_EQ(nowhere.perform().code(), CoreErrorCode::timedOut);
    EXPECT_EQ(Client("https://unknown.invalid").perform().code(), CoreErrorCode::cannotResolveHost);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(client.perform().status(), 200);
    EXPECT_EQ(stalled.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    EXPECT_EQ(server->connections(), 2U);
  }
  resolverMayGoOn.count_down();
}

}  // namespace
}  // namespace QuorvelCoreSDK
