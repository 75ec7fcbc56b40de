#include "Support/Process.h"

#include <AnswerService.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using Environment = std::map<std::string, std::string>;

constexpr const char* forgotten = "I forgot my password, how do I get back in?";

class CommandLine : public testing::Test {
 protected:
  CommandLine() { service.start(); }

  Support::Outcome pellix(std::vector<std::string> arguments, const Environment& changes = {},
                          const std::string& input = {}) {
    Environment environment{{"PELLIX_ACCOUNT_URL", service.baseUrl()},
                            {"PELLIX_TOKEN", "demo-token"}};
    for (const auto& [name, value] : changes) environment[name] = value;
    arguments.insert(arguments.begin(), PELLIX_PROGRAM);
    return Support::runProcess(std::move(arguments), environment, input);
  }

  AnswerService::Service service;
};

TEST_F(CommandLine, ListsArticles) {
  const auto outcome = pellix({"ask", "I", "forgot", "my", "password"});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.output, AllOf(StartsWith("1. I forgot my password"), HasSubstr("https://"),
                                    Not(HasSubstr("<em>"))));
  EXPECT_THAT(outcome.errors, IsEmpty());
}

TEST_F(CommandLine, WritesTheReplyAsJSON) {
  const auto outcome = pellix({"ask", "--json", forgotten});
  EXPECT_EQ(outcome.exitCode, 0);
  const auto reply = nlohmann::json::parse(outcome.output);
  EXPECT_EQ(reply.size(), 3U);
  EXPECT_EQ(reply["deflection"].size(), 2U);
  EXPECT_EQ(reply["deflection_articles"][0].size(), 11U);
  EXPECT_EQ(reply["deflection_articles"][0]["title"], "I forgot my password");
}

TEST_F(CommandLine, SearchesInTheLocaleOfTheOptionThenOfTheEnvironment) {
  const auto question = "Wie ändere ich mein Passwort?";
  EXPECT_THAT(pellix({"ask", question}, {{"PELLIX_LOCALE", "de"}}).output,
              HasSubstr("Passwort ändern"));
  EXPECT_THAT(pellix({"--locale", "de", "ask", question}, {{"PELLIX_LOCALE", "ja"}}).output,
              HasSubstr("Passwort ändern"));
}

struct Ending {
  const char* name;
  std::vector<std::pair<std::string, std::string>> misbehaviours;
  Environment changes;
  int exitCode;
  std::string errors;
};

TEST_F(CommandLine, EndsWithTheCodeAndTheErrorOfEachFailure) {
  const std::vector<Ending> endings{
      {"disabled", {{"settings", "disabled"}}, {}, 3, "QV_Pellix_Disabled (1006)"},
      {"not found",
       {{"interaction", "status:404"}},
       {},
       1,
       "com.pellix.providers (404): Not Found"},
      {"no content", {{"interaction", "none"}}, {}, 4, "ended without an answer"},
      {"empty object",
       {{"interaction", "body:{}"}},
       {},
       1,
       "Platform.DecodingError (1): Key not found: deflection (line 1, byte 0)."},
      {"malformed", {{"interaction", "malformed"}}, {}, 1, "Platform.DecodingError (5)"},
      {"cut off", {{"interaction", "truncated"}}, {}, 1, "the document ends early"},
      {"wrong token",
       {},
       {{"PELLIX_TOKEN", "wrong"}},
       1,
       "com.pellix.providers (401): Unauthorized"},
      {"no token", {}, {{"PELLIX_TOKEN", ""}}, 1, "com.quorvel.core (3)"},
      {"broken token", {}, {{"PELLIX_TOKEN", "a\nb: c"}}, 1, "com.quorvel.core (4)"},
      {"settings can't be had",
       {{"settings", "status:500"}},
       {},
       3,
       "warn: The account's settings could not be fetched; the default is used instead. "
       "com.quorvel.core (17): The request failed. (status 500 Internal Server Error)"},
      {"nobody there",
       {},
       {{"PELLIX_ACCOUNT_URL", "http://127.0.0.1:1"}},
       3,
       "could not be reached"},
      {"not https",
       {},
       {{"PELLIX_ACCOUNT_URL", "http://example.com"}},
       1,
       "com.quorvel.core (2): The address must use https"},
      {"no address", {}, {{"PELLIX_ACCOUNT_URL", ""}}, 2, "PELLIX_ACCOUNT_URL"},
  };
  for (const auto& ending : endings) {
    SCOPED_TRACE(ending.name);
    service.clearMisbehaviours();
    for (const auto& [endpoint, what] : ending.misbehaviours) {
      service.setMisbehaviour(endpoint, what);
    }
    const auto asked = service.record().queries.size();
    const auto outcome = pellix({"ask", forgotten}, ending.changes);
    EXPECT_EQ(outcome.exitCode, ending.exitCode);
    EXPECT_THAT(outcome.errors, HasSubstr(ending.errors));
    EXPECT_THAT(outcome.output, IsEmpty());
    if (ending.exitCode == 3) {
      EXPECT_EQ(service.record().queries.size(), asked);
    }
  }
}

TEST_F(CommandLine, AQuestionThatIsNotUTF8EndsSilentlyButForOneLine) {
  const auto outcome = pellix({"ask", "--json", "\xFF"});
  EXPECT_EQ(outcome.exitCode, 4);
  EXPECT_EQ(outcome.output,
            "Error: Encoding failed: the value of \"enquiry\" is not valid UTF-8.\n");
}

TEST_F(CommandLine, ReportsOnAnEarlierAnswer) {
  const auto answer = pellix({"ask", "--json", forgotten}).output;
  const auto articles = nlohmann::json::parse(answer)["deflection_articles"];
  const auto secondId = articles[1]["article_id"].get<std::int64_t>();
  struct Row {
    std::vector<std::string> arguments;
    int exitCode;
  };
  const std::vector<Row> rows{
      {{"resolve", "--interaction", "-", "--article", "1"}, 0},
      {{"reject", "--interaction", "-", "--article-id", std::to_string(secondId), "--reason", "2"},
       0},
      {{"resolve", "--interaction", "-", "--article", "9"}, 2},
      {{"resolve", "--interaction", "-", "--article", "0"}, 2},
      {{"resolve", "--interaction", "-", "--article-id", "1"}, 2},
      {{"resolve", "--interaction", "-"}, 2},
      {{"resolve", "--interaction", "/nonexistent", "--article", "1"}, 2},
      {{"reject", "--interaction", "-", "--article", "1", "--reason", "3"}, 2},
      {{"reject", "--interaction", "-", "--article", "1", "--reason", "-1"}, 2},
      {{"reject", "--interaction", "-", "--article", "1"}, 2},
  };
  for (const auto& row : rows) {
    const auto outcome = pellix(row.arguments, {}, answer);
    EXPECT_EQ(outcome.exitCode, row.exitCode) << outcome.errors;
  }
  EXPECT_EQ(pellix({"resolve", "--interaction", "-", "--article", "1"}, {}, "{}").exitCode, 2);

  const auto record = service.record();
  ASSERT_EQ(record.resolutions.size(), 1U);
  EXPECT_EQ(record.resolutions[0].articleId, articles[0]["article_id"]);
  ASSERT_EQ(record.votes.size(), 1U);
  EXPECT_EQ(record.votes[0].articleId, articles[0]["article_id"]);
  ASSERT_EQ(record.rejections.size(), 1U);
  EXPECT_EQ(record.rejections[0].articleId, secondId);
  EXPECT_EQ(record.rejections[0].reasonId, 2);
}

TEST_F(CommandLine, AFailedResolutionStillVotesAndADisabledOneDoesNot) {
  const auto answer = pellix({"ask", "--json", forgotten}).output;
  const std::vector<std::string> resolve{"resolve", "--interaction", "-", "--article", "1"};

  service.setMisbehaviour("settings", "disabled");
  EXPECT_EQ(pellix(resolve, {}, answer).exitCode, 3);
  EXPECT_EQ(service.record().votes.size(), 0U);

  service.clearMisbehaviours();
  service.setMisbehaviour("resolve", "status:500");
  const auto outcome = pellix(resolve, {}, answer);
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_THAT(outcome.errors, HasSubstr("com.pellix.providers (500): Internal Server Error"));
  EXPECT_EQ(service.record().votes.size(), 1U);
  EXPECT_EQ(service.record().resolutions.size(), 0U);

  service.setMisbehaviour("resolve", "none");
  service.setMisbehaviour("vote", "status:503");
  const auto voteless =
      pellix({"--verbose", "resolve", "--interaction", "-", "--article", "1"}, {}, answer);
  EXPECT_EQ(voteless.exitCode, 0);
  EXPECT_THAT(voteless.errors, HasSubstr("debug: Could not upvote article with id="));
}

TEST_F(CommandLine, SaysWhetherTheFeatureIsEnabled) {
  EXPECT_EQ(pellix({"settings"}).exitCode, 0);
  service.setMisbehaviour("settings", "disabled");
  const auto outcome = pellix({"settings"});
  EXPECT_EQ(outcome.exitCode, 3);
  EXPECT_THAT(outcome.output, HasSubstr("disabled"));
}

TEST_F(CommandLine, RefusesWrongUsage) {
  const std::vector<std::vector<std::string>> wrong{{},
                                                    {"ask"},
                                                    {"answer"},
                                                    {"ask", "--token", "x", "q"},
                                                    {"--token-file", "/nonexistent", "ask", "q"}};
  for (const auto& arguments : wrong) {
    const auto outcome = pellix(arguments);
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_THAT(outcome.errors, StartsWith("pellix: "));
  }
  EXPECT_EQ(pellix({"--help"}).exitCode, 0);
}

TEST_F(CommandLine, ReadsTheTokenFromAFileAndNeverShowsIt) {
  const auto file = std::filesystem::temp_directory_path() / ("token-" + std::to_string(getpid()));
  std::ofstream(file) << "demo-token\n";
  const auto outcome =
      pellix({"--verbose", "--token-file", file, "ask", forgotten}, {{"PELLIX_TOKEN", "wrong"}});
  std::filesystem::remove(file);
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.errors, AllOf(HasSubstr("debug: Initialized Providers with UUID: "),
                                    HasSubstr("info: Initializing Pellix SDK."),
                                    HasSubstr("debug: UUID for deflection: ")));
  EXPECT_THAT(outcome.output + outcome.errors, Not(HasSubstr("demo-token")));
}

TEST_F(CommandLine, TheProgramInTheReadmeWorks) {
  const auto outcome = Support::runProcess(
      {README_PROGRAM, forgotten},
      {{"PELLIX_ACCOUNT_URL", service.baseUrl()}, {"PELLIX_TOKEN", "demo-token"}});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.output, StartsWith("I forgot my password\n"));
}

}  // namespace
