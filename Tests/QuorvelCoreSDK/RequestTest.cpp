#include "Client.h"
#include "Support/Rows.h"

#include <gmock/gmock.h>

#include <set>
#include <sstream>

namespace QuorvelCoreSDK {
namespace {

/// The lines of a request's head; the first is the request line.
std::multiset<std::string> linesOf(const std::string& head) {
  std::multiset<std::string> lines;
  std::istringstream stream(head);
  for (std::string line; std::getline(stream, line);) {
    lines.insert(line.substr(0, line.find('\r')));
  }
  return lines;
}

TEST(RequestTest, IsSentAsEveryServerExpectsItAndAsksForTheTokenEachTime) {
  const std::map<std::string, HttpMethod> methods{{"GET", HttpMethod::get},
                                                  {"POST", HttpMethod::post},
                                                  {"PUT", HttpMethod::put},
                                                  {"DELETE", HttpMethod::delete_}};
  const Support::LoopbackServer server(replying(Support::httpReply("200 OK")));
  int asked = 0;
  const Client client(server.origin() + "/base/",
                      {.token = [&asked] { return "token-" + std::to_string(++asked); }});
  for (const auto& row : Support::rowsOf("QuorvelCoreSDK/Data/Requests.txt",
                                         {{"{large}", std::string(2'000'000, 'a')}})) {
    const bool hasBody = row[2] != "-";
    const auto before = asked;
    auto parameters = client.parameters(row[1]);
    parameters.httpMethod = methods.at(row[0]);
    if (hasBody) parameters.body = row[2];
    parameters.requiresAuth = hasBody;
    std::map<std::string, std::string> more{{"X-Empty", ""}, {"X-More", "a; b"}};
    for (int i = 0; i < 100; ++i) more["X-" + std::to_string(i)] = "1";
    parameters.clientHeaders = makeClientHeaders("Tester", "1.2.3", more);
    const auto outcome = valueOf(Client::begin(std::move(parameters)));
    EXPECT_EQ(outcome.status(), 200);
    EXPECT_EQ(outcome.response->url(), server.origin() + "/base" + row[1]);

    const auto request = server.requests().back();
    std::multiset<std::string> expected{row[0] + " /base" + row[1] + " HTTP/1.1",
                                        "Host: " + server.origin().substr(7),
                                        "Accept: application/json",
                                        "X-Quorvel-Client: Tester",
                                        "X-Quorvel-Client-Version: 1.2.3",
                                        "X-Empty:",
                                        "X-More: a; b"};
    for (int i = 0; i < 100; ++i) expected.insert("X-" + std::to_string(i) + ": 1");
    if (hasBody) {
      expected.insert("Content-Type: application/json; charset=utf-8");
      expected.insert("Authorization: Bearer token-" + std::to_string(before + 1));
    }
    if (!row[3].empty()) expected.insert("Content-Length: " + row[3]);
    EXPECT_EQ(linesOf(request.head), expected);
    EXPECT_EQ(request.body, hasBody ? row[2] : "");
  }
}

}  // namespace
}  // namespace QuorvelCoreSDK
