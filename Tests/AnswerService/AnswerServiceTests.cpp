#include "Support/PseudoTerminal.h"
#include "Support/Rows.h"
#include "Support/TemporaryDirectory.h"

#include <AnswerService.h>
#include <gmock/gmock.h>
#include <httplib.h>
#include <netinet/in.h>
#include <nlohmann/json.hpp>
#include <sqlite3.h>
#include <unistd.h>

#include <thread>

namespace {

using Json = nlohmann::json;

constexpr const char* settings = "/api/v1/account/settings";

std::string question(const std::string& enquiry, const std::string& locale) {
  Json body = Json::parse(R"({"via_id":65,"deflection_channel_id":65,"interaction_reference":"r",
                              "interaction_reference_type":4,"labels":[]})");
  body.update({{"enquiry", enquiry}, {"locale", locale}});
  return body.dump();
}

class AnswerServiceTest : public testing::Test {
 protected:
  AnswerServiceTest() { service.start(); }

  httplib::Result ask(const std::string& body, httplib::Headers headers = {}) {
    headers.emplace("Authorization", "Bearer " + service.token());  // after those that are given
    return client().Post("/answers/v1/interactions", headers, body, "application/json");
  }
  httplib::Client client() { return httplib::Client(service.baseUrl()); }

  AnswerService::Service service;
};

TEST_F(AnswerServiceTest, FindsTheRightArticleFirst) {
  for (const auto& row : Support::rowsOf("AnswerService/Data/Questions.txt")) {
    const auto first = Json::parse(ask(question(row[1], row[0]))->body)["deflection_articles"][0];
    EXPECT_EQ(first["title"], row[2]);
    EXPECT_THAT(first.value("snippet", ""), testing::HasSubstr("<em>"));
  }
}

TEST_F(AnswerServiceTest, RefusesWhatIsWrong) {
  const auto port = service.baseUrl().substr(service.baseUrl().rfind(':'));
  const std::vector<std::tuple<int, std::string, httplib::Headers>> rows{
      {200, question("", ""), {{"Host", "LOCALHOST" + port}}},
      {421, question("", ""), {{"Host", "rebound.example" + port}}},
      {401, question("", ""), {{"Authorization", "Bearer demo"}}},
      {415, question("", ""), {{"Content-Encoding", "gzip"}}},
      {422, R"({"via_id":1e30})", {}}};
  for (const auto& [status, body, headers] : rows) EXPECT_EQ(ask(body, headers)->status, status);
  EXPECT_EQ(service.record().queries.size(), 1U);
  const httplib::Headers overlapping{{"Range", "bytes=0-,0-"}};
  EXPECT_EQ(client().Get(settings, overlapping)->body, client().Get(settings)->body);
}

TEST_F(AnswerServiceTest, ReadsARequestAlsoWhereItsDatabaseFails) {
  const Support::TemporaryDirectory directory;
  const std::string file = directory.path() / "database";
  AnswerService::Service locked({.databaseFile = file});
  locked.start();
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  httplib::Client connection(locked.baseUrl());
  connection.set_keep_alive(true);
  for (const char* body : {"{}", "{ }"}) {
    const auto answer = connection.Post("/answers/v1/interactions", body, "application/json");
    EXPECT_EQ(Json::parse(answer->body)["error"]["code"], "failed") << body;
  }
  sqlite3_close(other);
}

TEST(AnswerServiceProgram, OutlivesItsLog) {
  Support::PseudoTerminal program({"/bin/sh", "-c", "exec " ANSWER_SERVICE_PROGRAM " 2>/dev/full"},
                                  {});
  program.readUntil("listening on ");
  auto address = program.readUntil("\r");
  address.pop_back();
  httplib::Client client(address);
  EXPECT_TRUE(client.Get(settings) && client.Get(settings));
}

TEST_F(AnswerServiceTest, SilentConnectionsShutOutNobodyAndDoNotHoldUpTheEnd) {
  const auto port = std::stoi(service.baseUrl().substr(service.baseUrl().rfind(':') + 1));
  sockaddr_in address{.sin_family = AF_INET, .sin_port = htons(static_cast<std::uint16_t>(port))};
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  std::vector<int> silent(200);
  for (int& fd : silent) {
    fd = socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }
  ASSERT_TRUE(client().Get(settings));
  service.setMisbehaviour("settings", "delay:3600000");
  std::thread delayed([this] { client().Get(settings); });
  while (service.record().requests.at("settings") < 2) std::this_thread::yield();
  service.stop();
  delayed.join();
  for (const int fd : silent) close(fd);
  service.clearMisbehaviours();
  service.start(port);
  EXPECT_TRUE(client().Get(settings));
}

}  // namespace
