#include <AnswerService.h>
#include <gmock/gmock.h>
#include <httplib.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>

#include <thread>

namespace {

using Json = nlohmann::json;
using AnswerService::Service;
using httplib::Headers;
using testing::HasSubstr;

constexpr const char* interactions = "/answers/v1/interactions";
constexpr const char* settings = "/api/v1/account/settings";

std::string question(const std::string& enquiry, const std::string& locale) {
  return Json{{"via_id", 65},  {"deflection_channel_id", 65},       {"interaction_reference", "r"},
              {"labels", {}},  {"interaction_reference_type", 4},   {"enquiry", enquiry},
              {"locale", locale}}
      .dump();
}

class AnswerServiceTest : public testing::Test {
 protected:
  AnswerServiceTest() { service.start(); }

  httplib::Result post(const std::string& path, const std::string& body, Headers changes = {}) {
    changes.emplace("Authorization", "Bearer " + service.token());  // after those that are given
    return client().Post(path, changes, body, "application/json");
  }
  httplib::Client client() { return httplib::Client(service.baseUrl()); }

  Service service;
};

TEST_F(AnswerServiceTest, FindsTheRightArticleFirst) {
  const std::vector<std::array<const char*, 3>> rows{
      {"en-GB", "I forgot my PASSWORDS, how do I get back in?", "I forgot my password"},
      {"", "My parcel hasn't arrived!", "Track a delivery"},
      {"DE_at", "Wie ändere ich mein Passwort?", "Passwort ändern"},
      {"ja", "パスワードを忘れました", "パスワードを忘れた場合"},
      {"ja", "退会したい", "アカウントを削除する"},
      {"en", "\"OR* 'NEAR(refunds, %_ --😀", "Ask for a refund"},
      {"fr", "xyzzy", ""}};
  for (const auto& [locale, enquiry, title] : rows) {
    const auto articles = Json::parse(post(interactions, question(enquiry, locale))->body)
                              .at("deflection_articles");
    const auto first = articles.empty() ? Json{{"title", ""}, {"snippet", "<em>"}} : articles[0];
    EXPECT_EQ(first.at("title"), title) << enquiry;
    EXPECT_THAT(std::string(first.at("snippet")), HasSubstr("<em>"));
    EXPECT_EQ(service.record().queries.back().enquiry, enquiry);
  }
}

TEST_F(AnswerServiceTest, RefusesWhatIsWrong) {
  const auto port = service.baseUrl().substr(service.baseUrl().rfind(':'));
  const auto good = question("password", "en");
  EXPECT_EQ(post(interactions, good, {{"Host", "LOCALHOST" + port}})->status, 200);
  EXPECT_EQ(post(interactions, good, {{"Host", "rebound.example" + port}})->status, 421);
  EXPECT_EQ(post(interactions, good, {{"Host", "localhost:1"}})->status, 421);
  EXPECT_EQ(post(interactions, good, {{"Authorization", "Bearer demo"}})->status, 401);
  EXPECT_EQ(post(interactions, good, {{"Content-Encoding", "gzip"}})->status, 415);
  EXPECT_EQ(post(interactions, "[]")->status, 400);
  EXPECT_THAT(post(interactions, R"({"via_id":1e30})")->body, HasSubstr("via_id"));
  const Json report{{"deflection_id", 1}, {"article_id", 700100}, {"resolution_channel_id", 65},
                    {"interaction_access_token", ""}};
  EXPECT_EQ(post("/answers/v1/resolutions", report.dump())->status, 403);
  EXPECT_EQ(post("/knowledge/v1/articles/1/votes/up", "")->status, 404);
  EXPECT_EQ(service.record().queries.size(), 1U);
  EXPECT_THAT(client().Get("/demo/record")->body, testing::Not(HasSubstr(service.token())));
  for (const char* what : {"disabled", "status:199", "delay:1.5", "none:", "body"}) {
    EXPECT_THROW(service.setMisbehaviour("vote", what), std::invalid_argument) << what;
  }
}

TEST_F(AnswerServiceTest, ConnectionsThatSendNothingShutOutNobodyAndDontHoldUpTheEnd) {
  std::vector<std::unique_ptr<httplib::Client>> idle(200);
  sockaddr_in address{.sin_family = AF_INET};
}

}  // namespace
