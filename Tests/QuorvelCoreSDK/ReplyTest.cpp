#include "Client.h"
#include "Support/Recorder.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <netdb.h>

#include <latch>

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
  using enum CoreErrorCode;
  struct Case {
    std::string bytes;
    Then then;
    CoreErrorCode code;
    std::string cause;
    bool isDeaf = false;
  };
  const std::string ok = "HTTP/1.1 200 OK\r\n";
  const std::string chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";
  const std::string tooMuch(largest + 1, 'a');
  const Case cases[] = {
      {"", Then::close, cannotConnect, "connect to", true},
      {"", Then::close, connectionLost, "Empty reply"},
      {ok + "Content-Length: 10\r\n\r\nhalf", Then::reset, connectionLost, "reset by peer"},
      {ok + "Content-Length: 10\r\n\r\nhalf", Then::close, connectionLost, "6 bytes remaining"},
      {chunked + "5\r\nhalf", Then::close, connectionLost, "closed"},
      {chunked + "fffffffffffffffff\r\n", Then::keep, malformedReply, "chunk"},
      {ok + "Content-Length: -1\r\n\r\n", Then::keep, malformedReply, "Content-Length"},
      {std::string("\0\xFF\x01", 3), Then::close, malformedReply, "HTTP/0.9"},
      {"HTTP/7.5 200 OK\r\n\r\n", Then::close, malformedReply, "HTTP"},
      {"HTTP/1.1 what\r\n\r\n", Then::close, malformedReply, "HTTP"},
      {httpReply("404 Not Found", tooMuch), Then::keep, replyTooLarge, ""},
      {chunked + "186a1\r\n" + tooMuch + "\r\n0\r\n\r\n", Then::keep, replyTooLarge, ""},
      {ok + "Content-Length: 10\r\n\r\nhalf", Then::stall, timedOut, "4 out of 10 bytes"},
  };
  const Support::LogRecorder log;
  for (const auto& [bytes, then, code, cause, isDeaf] : cases) {
    SCOPED_TRACE(bytes.substr(0, 100) + (then == Then::close ? " close" : " go on"));
    const LoopbackServer server(replying(bytes, then), {.isDeaf = isDeaf});
    Configuration configuration{.network = {.maxResponseBytes = largest}};
    if (then == Then::stall) configuration.network.requestTimeout = std::chrono::milliseconds(1000);
    const auto outcome = Client(server.origin(), configuration).perform();
    EXPECT_EQ(outcome.code(), code) << outcome.text();
    EXPECT_EQ(outcome.response, nullptr);
    EXPECT_EQ(outcome.data, std::nullopt);
    const auto text = outcome.text();
    EXPECT_EQ(text.find(makeCoreError(code).description()), 0U) << text;
    EXPECT_THAT(text, HasSubstr(cause));
    EXPECT_THAT(text, testing::Not(HasSubstr(secret)));
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
  EXPECT_EQ(client.perform().status(), 200);
  EXPECT_EQ(stalled.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  resolverMayGoOn.count_down();
}

}  // namespace
}  // namespace QuorvelCoreSDK
