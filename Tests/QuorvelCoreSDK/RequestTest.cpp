#include "Client.h"

#include <gmock/gmock.h>

#include <set>
#include <sstream>

namespace QuorvelCoreSDK {
namespace {

using Support::httpReply;
using Support::LoopbackServer;

/// The lines of a request's head; the first is the request line.
std::multiset<std::string> linesOf(const std::string& head) {
  std::multiset<std::string> lines;
  std::istringstream stream(head);
  for (std::string line; std::getline(stream, line);) {
    lines.insert(line.substr(0, line.find('\r')));
  }
  return lines;
}

TEST(RequestTest, IsSentAsEveryServerExpectsIt) {
  using Lines = std::multiset<std::string>;
  using enum HttpMethod;
  struct Case {
    HttpMethod method;
    std::string name;
    std::optional<std::string> body;
    Lines lines;
  };
  const std::string large(2'000'000, 'a');
  const std::string binary("\0\r\n\r\n\xFF", 6);
  const std::string json = "Content-Type: application/json; charset=utf-8";
  const Case cases[] = {
      {get, "GET", {}, {}},
      {get, "GET", "{}", {json, "Content-Length: 2"}},
      {post, "POST", {}, {"Content-Length: 0"}},
      {post, "POST", large, {json, "Content-Length: 2000000"}},
      {post, "POST", binary, {json, "Content-Length: 6"}},
      {post, "POST", "", {json, "Content-Length: 0"}},
      {put, "PUT", "{}", {json, "Content-Length: 2"}},
      {put, "PUT", {}, {"Content-Length: 0"}},
      {delete_, "DELETE", {}, {}},
      {delete_, "DELETE", "{}", {json, "Content-Length: 2"}},
  };
  const LoopbackServer server(replying(httpReply("200 OK")));
  const Client client(server.origin() + "/base/");
  for (const auto& [method, name, body, lines] : cases) {
    const bool requiresAuth = body.has_value();
    auto parameters = client.parameters("/x?q=%20");
    parameters.httpMethod = method;
    parameters.body = body;
    parameters.requiresAuth = requiresAuth;
    parameters.clientHeaders =
        makeClientHeaders("Tester", "1.2.3", {{"X-Empty", ""}, {"X-More", "a; b"}});
    EXPECT_EQ(valueOf(Client::begin(std::move(parameters))).status(), 200);

    const auto request = server.requests().back();
    Lines expected{name + " /base/x?q=%20 HTTP/1.1",
                   "Host: " + server.origin().substr(7),
                   "Accept: application/json",
                   "X-Quorvel-Client: Tester",
                   "X-Quorvel-Client-Version: 1.2.3",
                   "X-Empty:",
                   "X-More: a; b"};
    expected.insert(lines.begin(), lines.end());
    if (requiresAuth) expected.insert(std::string("Authorization: Bearer ") + secret);
    EXPECT_EQ(linesOf(request.head), expected);
    EXPECT_EQ(request.body, body.value_or(""));
  }
}

TEST(RequestTest, GoesToTheExactPath) {
  const LoopbackServer server(replying(httpReply("200 OK")));
  const Client client(server.origin());
  for (const std::string path : {"/a/../b", "/a/./b", "/a/%2E%2E/b", "/a//b", "/%C3%A9;x=1", "/"}) {
    const auto outcome = valueOf(Client::begin(client.parameters(path)));
    EXPECT_EQ(linesOf(server.requests().back().head).count("GET " + path + " HTTP/1.1"), 1U)
        << path;
    EXPECT_EQ(outcome.response->url(), server.origin() + path);
  }
}

TEST(RequestTest, AsksForTheTokenEachTime) {
  const LoopbackServer server(replying(httpReply("200 OK")));
  int asked = 0;
  const Client client(server.origin(),
                      {.token = [&asked] { return "token-" + std::to_string(++asked); }});
  for (const std::string token : {"token-1", "token-2"}) {
    EXPECT_EQ(client.perform().status(), 200);
    EXPECT_THAT(server.requests().back().head, testing::HasSubstr("Bearer " + token + "\r\n"));
  }
}

}  // namespace
}  // namespace QuorvelCoreSDK
