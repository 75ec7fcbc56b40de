#include "Client.h"
#include "Support/Recorder.h"
#include "Support/Rows.h"

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

TEST(ReplyTest, IsHandedOnAsItCame) {
  struct Case {
    std::string bytes;
    int status;
    std::optional<std::string> data;
    Then then = Then::keep;
  };
  const std::string gzip = "\x1F\x8B\x08 not really";
  const std::string full(largest, 'a');
  const Case cases[] = {
      {httpReply("200 OK", "{}"), 200, "{}"},
      {httpReply("200 OK"), 200, std::nullopt},
      {httpReply("200 OK", full), 200, full},
      {"HTTP/1.1 204 No Content\r\n\r\n", 204, std::nullopt},
      {"HTTP/1.1 304 Not Modified\r\nContent-Length: 7\r\n\r\n", 304, std::nullopt},
      {httpReply("302 Found", "moved", "Location: /elsewhere\r\n"), 302, "moved"},
      {httpReply("400 Bad Request", "{\"a\":1}"), 400, "{\"a\":1}"},
      {httpReply("429 Too Many Requests", "later", "Retry-After: 1\r\n"), 429, "later"},
      {httpReply("999 Whatever", "x"), 999, "x"},
      {"HTTP/1.1 100 Continue\r\n\r\n" + httpReply("200 OK", "x"), 200, "x"},
      {"HTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\n" + httpReply("404 Not Found"), 404,
       std::nullopt},
      {httpReply("200 OK", gzip, "Content-Encoding: gzip\r\n"), 200, gzip},
      {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nab\r\n1\r\nc\r\n0\r\n\r\n", 200,
       "abc"},
      {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 200, std::nullopt},
      {"HTTP/1.1 200 OK\r\n\r\nuntil the end", 200, "until the end", Then::close},
      {"HTTP/1.0 200\n\nold", 200, "old", Then::close},
      {"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}more", 200, "{}", Then::close},
  };
  for (const auto& [bytes, status, data, then] : cases) {
    SCOPED_TRACE(bytes.substr(0, 100));
    const LoopbackServer server(replying(bytes, then));
    const Client client(server.origin(), {.network = {.maxResponseBytes = largest}});
    const auto outcome = client.perform();
    EXPECT_FALSE(outcome.error) << outcome.text();
    EXPECT_EQ(outcome.status(), status);
    EXPECT_EQ(outcome.data, data);
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
    LoopbackReply reply{
        std::regex_replace(row[4], std::regex("\\{huge\\}"), std::string(largest + 1, 'a'))};
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
  const LoopbackServer server([](const auto& request) {
    if (request.head.starts_with("GET /stall")) return LoopbackReply{"", Then::stall};
    return LoopbackReply{httpReply("200 OK")};
  });
  const Client client(server.origin());
  const Client nowhere("https://slow.invalid",
                       {.network = {.requestTimeout = std::chrono::milliseconds(300)}});
  auto stalled = Client::begin(client.parameters("/stall"));
  ASSERT_TRUE(server.waitForRequests(1));
  EXPECT_EQ(nowhere.perform().code(), CoreErrorCode::timedOut);
  EXPECT_EQ(Client("https://unknown.invalid").perform().code(), CoreErrorCode::cannotResolveHost);
  EXPECT_EQ(client.perform().status(), 200);
  EXPECT_EQ(stalled.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  resolverMayGoOn.count_down();
}

}  // namespace
}  // namespace QuorvelCoreSDK
