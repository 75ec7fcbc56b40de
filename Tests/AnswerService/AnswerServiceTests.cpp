#include <AnswerService.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>
#include <thread>

namespace {

using Json = nlohmann::json;
using namespace std::chrono_literals;

constexpr const char* kInteractions = "/answers/v1/interactions";
constexpr const char* kResolutions = "/answers/v1/resolutions";
constexpr const char* kRejections = "/answers/v1/rejections";
constexpr const char* kJson = "application/json";
const httplib::Headers kAuthorized = {{"Authorization", "Bearer demo-token"}};

Json question(const std::string& text, const std::string& locale = "en-us") {
  return {{"via_id", 65},
          {"deflection_channel_id", 65},
          {"interaction_reference", "r-1"},
          {"enquiry", text},
          {"interaction_reference_type", 4},
          {"locale", locale},
          {"labels", {"demo"}},
          {"brand_id", 77}};
}

class AnswerServiceTest : public testing::Test {
 protected:
  AnswerServiceTest() : service_(options()) {
    service_.start();
    client_.emplace("127.0.0.1", service_.port());
    client_->set_keep_alive(true);
    client_->set_tcp_nodelay(true);
  }

  AnswerService::Options options() {
    AnswerService::Options options;
    options.log = [this](std::string_view line) {
      const std::lock_guard lock(logMutex_);
      log_ += std::string(line) + "\n";
    };
    return options;
  }

  httplib::Result post(const std::string& path, const std::string& body) {
    return client_->Post(path, kAuthorized, body, kJson);
  }

  Json ask(const std::string& text, const std::string& locale = "en-us") {
    const httplib::Result reply = post(kInteractions, question(text, locale).dump());
    EXPECT_TRUE(reply && reply->status == 200) << text.substr(0, 100);
    return reply ? Json::parse(reply->body, nullptr, false) : Json();
  }

  std::mutex logMutex_;
  std::string log_;
  AnswerService::Service service_;
  std::optional<httplib::Client> client_;
};

TEST_F(AnswerServiceTest, FindsTheRightArticleFirst) {
  const struct {
    const char *locale, *question, *title, *answeredLocale;
  } cases[] = {
      {"en-us", "I forgot my password, how do I get back in?", "I forgot my password", "en-us"},
      {"en", "How can I CHANGE my password", "Change your password", "en-us"},
      {"en-GB", "cancelling my subscription", "Cancel your subscription", "en-us"},
      {"fr", "where is my invoice", "Find and download invoices", "en-us"},
      {"", "My parcel has not arrived!", "Track a delivery", "en-us"},
      {"en-us", "new email", "Change the e-mail address of your account", "en-us"},
      {"de", "Wie ändere ich mein Passwort?", "Passwort ändern", "de"},
      {"de-AT", "Ich habe mein Passwort vergessen", "Passwort vergessen", "de"},
      {"DE_at", "Wo finde ich meine Rechnung?", "Rechnungen ansehen und herunterladen", "de"},
      {"de", "abo kuendigen oder KÜNDIGEN", "Abonnement kündigen", "de"},
      {"ja", "パスワードを忘れました", "パスワードを忘れた場合", "ja"},
      {"ja-JP", "パスワードを変えたい", "パスワードを変更する", "ja"},
      {"ja", "領収書がほしい", "請求書と領収書をダウンロードする", "ja"},
      {"ja", "退会したい", "アカウントを削除する", "ja"},
      {"ja", "荷物が届かない", "配送状況を確認する", "ja"},
  };
  for (const auto& expected : cases) {
    const Json articles = ask(expected.question, expected.locale).at("deflection_articles");
    ASSERT_FALSE(articles.empty()) << expected.question;
    EXPECT_EQ(articles[0].at("title"), expected.title) << expected.question;
    EXPECT_EQ(articles[0].at("locale"), expected.answeredLocale) << expected.question;
    EXPECT_NE(articles[0].at("snippet").get<std::string>().find("<em>"), std::string::npos);
  }
}

TEST_F(AnswerServiceTest, RanksAFewDistinctArticles) {
  const Json articles = ask("How can I change my password?").at("deflection_articles");
  ASSERT_GE(articles.size(), 2U);
  EXPECT_LE(articles.size(), 5U);
  std::set<Json> ids;
  double last = std::numeric_limits<double>::infinity();
  for (const Json& article : articles) {
    EXPECT_TRUE(ids.insert(article.at("id")).second);
    EXPECT_TRUE(ids.insert(article.at("article_id")).second);
    EXPECT_GT(article.at("score"), 0.0);
    EXPECT_LE(article.at("score"), last);
    last = article.at("score");
    EXPECT_EQ(article.at("brand_id"), 77);
    EXPECT_FALSE(article.at("label_names").empty());
    EXPECT_TRUE(article.at("body").get<std::string>().starts_with("<h2>"));
    for (const char* url : {"url", "html_url"}) EXPECT_TRUE(article.at(url).is_string());
  }
}

TEST_F(AnswerServiceTest, OddQuestionsAreAnswered) {
  const std::string questions[] = {
      "",
      " \t\n",
      "xyzzy",
      "how do I?",
      std::string("for\0got", 7),
      "هل نسيت كلمة المرور؟",
      "\u202Epassword\u202C",
      "😀👩‍👩‍👧 🔑",
      "\"",
      "'; DROP TABLE articles; --",
      "password AND OR NOT NEAR(a b, 2) * ^ - + {title} : \"",
      "title:password*",
      "%_%",
      std::string(5000, '('),
      std::string(1 << 20, 'x'),
  };
  for (const char* locale : {"en-us", "de", "ja"}) {
    for (const std::string& text : questions) {
      EXPECT_TRUE(ask(text, locale).at("deflection_articles").is_array());
      EXPECT_EQ(service_.record().queries.back().enquiry, text);
    }
  }
  for (const char* text : {"", "xyzzy", "how do I?", "😀👩‍👩‍👧 🔑"}) {
    EXPECT_TRUE(ask(text).at("deflection_articles").empty()) << text;
  }
  std::string longQuestion = "I forgot my password. ";
  while (longQuestion.size() < (1 << 20)) longQuestion += "Really, \"I\" did - 忘れ! ";
  EXPECT_EQ(ask(longQuestion).at("deflection_articles")[0].at("title"), "I forgot my password");
}

TEST_F(AnswerServiceTest, BadInputIsRefusedWithAReason) {
  const Json asked = ask("password");
  const Json right = {{"deflection_id", asked.at("deflection").at("id")},
                      {"article_id", asked.at("deflection_articles")[0].at("article_id")},
                      {"resolution_channel_id", 65},
                      {"interaction_access_token", asked.at("interaction_access_token")},
                      {"reason_id", 1}};
  const auto with = [](Json body, const char* member, const Json& value) {
    body[member] = value;
    return body.dump();
  };
  const auto without = [](Json body, const char* member) {
    body.erase(member);
    return body.dump();
  };
  const Json suggestionId = asked.at("deflection_articles")[0].at("id");
  const struct {
    std::string path, body;
    int status;
    const char* says;
  } cases[] = {
      {kInteractions, "", 400, "JSON"},
      {kInteractions, "{\"enquiry\":", 400, "JSON"},
      {kInteractions, "\"\xff\"", 400, "JSON"},
      {kInteractions, "[]", 400, "object"},
      {kInteractions, without(question("a"), "enquiry"), 422, "enquiry"},
      {kInteractions, without(question("a"), "labels"), 422, "labels"},
      {kInteractions, with(question("a"), "enquiry", nullptr), 422, "enquiry"},
      {kInteractions, with(question("a"), "via_id", 6.5), 422, "via_id"},
      {kInteractions, with(question("a"), "via_id", 1ULL << 63U), 422, "via_id"},
      {kInteractions, with(question("a"), "labels", {1}), 422, "labels"},
      {kInteractions, with(question("a"), "brand_id", "x"), 422, "brand_id"},
      {kResolutions, without(right, "article_id"), 422, "article_id"},
      {kResolutions, with(right, "deflection_id", 999), 404, "deflection_id 999"},
      {kResolutions, with(right, "interaction_access_token", "x"), 403, "interaction_access_token"},
      {kResolutions, with(right, "article_id", suggestionId), 404, "article_id"},
      {kRejections, without(right, "reason_id"), 422, "reason_id"},
      {kRejections, with(right, "reason_id", 3), 422, "reason_id"},
      {kRejections, with(right, "reason_id", -1), 422, "reason_id"},
      {"/knowledge/v1/articles/1/votes/up", "", 404, "article_id 1"},
      {"/knowledge/v1/articles/x/votes/up", "", 404, "number"},
      {"/knowledge/v1/articles/" + std::string(7000, '9') + "/votes/up", "", 404, "number"},
      {"/nowhere", "{}", 404, "POST"},
  };
  for (const auto& expected : cases) {
    const httplib::Result reply = post(expected.path, expected.body);
    ASSERT_TRUE(reply) << expected.body;
    EXPECT_EQ(reply->status, expected.status) << reply->body;
    const Json error = Json::parse(reply->body, nullptr, false)["error"];
    EXPECT_FALSE(error.value("code", "").empty());
    EXPECT_NE(error.value("message", "").find(expected.says), std::string::npos) << reply->body;
  }
  EXPECT_EQ(client_->Post(kInteractions, kAuthorized, "{}", "text/plain")->status, 415);
  EXPECT_EQ(service_.record().queries.size(), 1U);
  EXPECT_TRUE(service_.record().resolutions.empty() && service_.record().rejections.empty());
}

TEST_F(AnswerServiceTest, ATokenIsNeededWhereItShouldBe) {
  const httplib::Headers wrong[] = {{},
                                    {{"Authorization", "Bearer demo-token2"}},
                                    {{"Authorization", "Bearer "}},
                                    {{"Authorization", "demo-token"}}};
  const char* const paths[] = {kInteractions, kResolutions, kRejections,
                               "/knowledge/v1/articles/700100/votes/up"};
  for (const httplib::Headers& headers : wrong) {
    for (const char* path : paths) {
      const httplib::Result reply = client_->Post(path, headers, question("a").dump(), kJson);
      EXPECT_EQ(reply->status, 401) << path;
      EXPECT_TRUE(reply->get_header_value("WWW-Authenticate").starts_with("Bearer "));
    }
  }
  for (const char* path : {"/api/v1/account/settings", "/knowledge/v1/settings", "/demo/record"}) {
    EXPECT_EQ(client_->Get(path)->status, 200) << path;
  }
}

TEST_F(AnswerServiceTest, RecordsWhatClientsDidWithoutTokens) {
  const Json asked = ask("Passwort vergessen", "de");
  const Json& article = asked.at("deflection_articles")[0];
  Json choice = {{"deflection_id", asked.at("deflection").at("id")},
                 {"article_id", article.at("article_id")},
                 {"resolution_channel_id", 65},
                 {"interaction_access_token", asked.at("interaction_access_token")}};
  EXPECT_EQ(post(kResolutions, choice.dump())->status, 200);
  choice["reason_id"] = 2;
  const httplib::Result rejected = post(kRejections, choice.dump());
  EXPECT_EQ(rejected->status, 204);
  EXPECT_EQ(rejected->body, "");
  const std::string articleId = article.at("article_id").dump();
  const httplib::Result voted = post("/knowledge/v1/articles/" + articleId + "/votes/up", "");
  EXPECT_EQ(
      Json::parse(voted->body),
      Json({{"votes", {{{"id", 1}, {"article_id", article.at("article_id")}, {"value", 1}}}}}));

  const std::string text = client_->Get("/demo/record")->body;
  const Json record = Json::parse(text);
  EXPECT_EQ(record["queries"][0]["enquiry"], "Passwort vergessen");
  EXPECT_EQ(record["queries"][0]["locale"], "de");
  EXPECT_EQ(record["queries"][0]["labels"], Json({"demo"}));
  EXPECT_EQ(record["queries"][0]["brand_id"], 77);
  EXPECT_EQ(record["queries"][0]["article_ids"][0], article.at("article_id"));
  EXPECT_EQ(record["resolutions"][0]["article_id"], article.at("article_id"));
  EXPECT_EQ(record["rejections"][0]["reason_id"], 2);
  EXPECT_EQ(record["votes"][0]["article_id"], article.at("article_id"));
  EXPECT_EQ(record["requests"], Json({{"settings", 0},
                                      {"knowledge-settings", 0},
                                      {"interaction", 1},
                                      {"resolve", 1},
                                      {"reject", 1},
                                      {"vote", 1},
                                      {"record", 1}}));
  service_.stop();  // Now every line is in the log.
  EXPECT_NE(log_.find("POST /answers/v1/rejections 204"), std::string::npos) << log_;
  for (const Json& token : {asked.at("interaction_access_token"), Json("demo-token"),
                            asked.at("deflection").at("auth_token")}) {
    EXPECT_EQ((text + log_).find(token.get<std::string>()), std::string::npos);
  }
}

TEST_F(AnswerServiceTest, MisbehavesAsTold) {
  const auto get = [&](const char* what) {
    service_.setMisbehaviour("settings", what);
    return client_->Get("/api/v1/account/settings");
  };
  const std::string right = client_->Get("/api/v1/account/settings")->body;
  EXPECT_EQ(Json::parse(right)["pellix"]["enabled"], true);
  EXPECT_EQ(Json::parse(get("disabled")->body)["pellix"]["enabled"], false);
  EXPECT_EQ(get("truncated")->body, right.substr(0, right.size() / 2));
  EXPECT_FALSE(Json::accept(get("malformed")->body));
  EXPECT_EQ(get("none")->status, 204);
  EXPECT_EQ(get("body:a:b=c")->body, "a:b=c");
  EXPECT_EQ(get("body:")->status, 200);
  EXPECT_TRUE(Json::parse(get("status:503")->body).contains("error"));
  EXPECT_EQ(get("status:429")->status, 429);
  EXPECT_EQ(get("delay:30")->body, right);

  service_.setMisbehaviour("reject", "body:{}");
  service_.setMisbehaviour("interaction", "malformed");
  EXPECT_EQ(post(kRejections, "{}")->status, 200);
  EXPECT_EQ(post(kInteractions, question("a").dump())->status, 200);
  EXPECT_EQ(service_.record().queries.size(), 1U);  // The work was done; only its answer is bad.
  service_.clearMisbehaviours();
  EXPECT_EQ(post(kRejections, "{}")->status, 422);
  EXPECT_EQ(client_->Get("/api/v1/account/settings")->body, right);
}

TEST_F(AnswerServiceTest, RefusesMisbehavioursThatDoNotExist) {
  const std::pair<const char*, const char*> cases[] = {
      {"nowhere", "none"},       {"", "none"},
      {"vote", "disabled"},      {"vote", ""},
      {"vote", "status"},        {"vote", "status:"},
      {"vote", "status:199"},    {"vote", "status:600"},
      {"vote", "status:5x"},     {"vote", "delay:-1"},
      {"vote", "delay:1.5"},     {"vote", "truncated:1"},
      {"vote", "delay:9999999"}, {"vote", "body"},
      {"vote", "None"}};
  for (const auto& [endpoint, what] : cases) {
    EXPECT_THROW(service_.setMisbehaviour(endpoint, what), std::invalid_argument) << what;
  }
}

TEST_F(AnswerServiceTest, StopsAtOnceAndStartsAgain) {
  service_.setMisbehaviour("settings", "delay:3600000");
  std::thread delayed([port = service_.port()] {
    httplib::Client("127.0.0.1", port).Get("/api/v1/account/settings");
  });
  EXPECT_EQ(client_->Get("/knowledge/v1/settings")->status, 200);  // Stays open, and idle.
  while (service_.record().requests.at("settings") == 0) std::this_thread::yield();
  service_.stop();  // does not wait for the hour to pass
  delayed.join();
  EXPECT_FALSE(client_->Get("/knowledge/v1/settings"));

  service_.start(service_.port());
  EXPECT_EQ(client_->Get("/knowledge/v1/settings")->status, 200);
  EXPECT_EQ(service_.record().requests.at("knowledge-settings"), 2);
  AnswerService::Service second;
  EXPECT_THROW(second.start(service_.port()), std::runtime_error);
}

TEST(AnswerServiceOptions, KeepsTheRecordInAFile) {
  const auto file = std::filesystem::path(testing::TempDir()) /
                    ("answer-service-record" + std::to_string(getpid()));
  std::filesystem::remove(file);
  for (std::size_t runs = 1; runs <= 2; ++runs) {
    AnswerService::Service service({.token = "other", .defaultLocale = "de", .databaseFile = file});
    service.start();
    httplib::Client client("127.0.0.1", service.port());
    EXPECT_EQ(Json::parse(client.Get("/knowledge/v1/settings")->body)["locale"], "de");
    const httplib::Headers headers = {{"Authorization", "Bearer other"}};
    const auto reply = client.Post(kInteractions, headers, question("Abo", "xx").dump(), kJson);
    EXPECT_EQ(Json::parse(reply->body)["deflection_articles"][0]["locale"], "de");
    EXPECT_EQ(service.record().queries.size(), runs);
  }
  EXPECT_THROW(AnswerService::Service({.databaseFile = "/no/such/folder/x.db"}),
               std::runtime_error);
}

TEST(AnswerServiceOptions, TlsIsTrustedOnlyWhileTheCertificateIsValid) {
  const auto file = std::filesystem::path(testing::TempDir()) /
                    ("answer-service-certificate" + std::to_string(getpid()));
  for (const auto& [validUntil, trusted] : {std::pair{60s, true}, std::pair{-60s, false}}) {
    AnswerService::Service service({.tls = true, .certificateValidUntil = validUntil});
    service.start();
    EXPECT_TRUE(service.baseUrl().starts_with("https://127.0.0.1:"));
    std::ofstream(file) << service.certificatePem();
    httplib::SSLClient client("localhost", service.port());
    client.set_address_family(AF_INET);
    client.set_ca_cert_path(file.c_str());
    client.set_keep_alive(true);
    for (int request = 0; request < 2; ++request) {
      EXPECT_EQ(static_cast<bool>(client.Get("/knowledge/v1/settings")), trusted);
    }
  }
}

}  // namespace
