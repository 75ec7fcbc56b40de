#include "Support/Process.h"
#include "Support/TemporaryDirectory.h"

#include <AnswerService.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using Arguments = std::vector<std::string>;
using Pair = std::pair<std::string, std::string>;

constexpr const char* forgotten = "I forgot my password, how do I get back in?";

class CommandLine : public testing::Test {
 protected:
  CommandLine() { service.start(); }

  Support::Outcome pellix(Arguments arguments, const Pair& variable = {},
                          const std::string& input = {}, const char* program = PELLIX_PROGRAM) {
    arguments.insert(arguments.begin(), program);
    std::map<std::string, std::string> environment{variable};
    environment.insert({{"PELLIX_ACCOUNT_URL", service.baseUrl()}, {"PELLIX_TOKEN", "demo-token"}});
    return Support::runProcess(std::move(arguments), environment, input);
  }

  AnswerService::Service service{{.token = "demo-token"}};
  json rows = json::parse(std::ifstream(TESTS_SOURCE_DIR "/pellix/CommandLine.json"));
};

TEST_F(CommandLine, ListsArticlesInTheLocaleOfTheOptionThenOfTheEnvironment) {
  const auto english = pellix({"ask", "I", "forgot", "my", "password"});
  EXPECT_EQ(english.exitCode, 0);
  EXPECT_THAT(english.output, AllOf(StartsWith("1. I forgot my password"), HasSubstr("https://"),
                                    Not(HasSubstr("<em>"))));
  EXPECT_THAT(english.errors, IsEmpty());
  EXPECT_EQ(pellix({"settings"}).exitCode, 0);
  const Arguments german{"ask", "Wie ändere ich mein Passwort?"};
  EXPECT_THAT(pellix(german, {"PELLIX_LOCALE", "de"}).output, HasSubstr("Passwort ändern"));
  const auto chosen = pellix({"--locale", "de", "ask", german[1]}, {"PELLIX_LOCALE", "ja"});
  EXPECT_THAT(chosen.output, HasSubstr("Passwort ändern"));
  const auto timed = pellix({"ask", "--timings", forgotten});
  EXPECT_EQ(timed.output, pellix({"ask", forgotten}).output);
  EXPECT_THAT(timed.errors,
              testing::MatchesRegex("1: /.*\n2: /.*\n3: /answers/v1/interactions\n"
                                    "ms          ( +[123]){3}\nbegun at    ( +[0-9.]+){3}\n"
                                    "(queue |name l|connect|TLS|first |rest ).*"
                                    "total       ( +[0-9.]+){3}\nconnection  ( +(new|kept)){3}\n"
                                    "protocol    ( +HTTP/1.1){3}\nbytes sent  ( +[0-9]+){3}\n"
                                    "received    ( +[0-9]+){3}\n"));
  EXPECT_THAT(pellix({forgotten}, {}, "", README_PROGRAM).output,
              StartsWith("I forgot my password\n"));
}

TEST_F(CommandLine, EndsWithTheCodeAndTheErrorOfEachFailure) {
  for (const auto& row : rows["failures"]) {
    SCOPED_TRACE(row.dump());
    service.clearMisbehaviours();
    if (row[0] != "") service.setMisbehaviour(std::string(row[0]), std::string(row[1]));
    const auto asked = service.record().queries.size();
    const auto outcome = pellix({"ask", forgotten}, {row[2], row[3]});
    EXPECT_EQ(outcome.exitCode, row[4]);
    EXPECT_THAT(outcome.errors, HasSubstr(row[5]));
    EXPECT_THAT(outcome.output, IsEmpty());
    if (row[4] != 3) continue;
    EXPECT_EQ(service.record().queries.size(), asked);
    EXPECT_EQ(pellix({"settings"}, {row[2], row[3]}).exitCode, 3);
  }
  const auto unclear = pellix({"ask", "--json", "\xFF"});
  EXPECT_EQ(unclear.exitCode, 4);
  EXPECT_EQ(unclear.output,
            "Error: Encoding failed: the value of \"enquiry\" is not valid UTF-8.\n");
}

TEST_F(CommandLine, ReportsOnAnEarlierAnswer) {
  const auto answer = pellix({"ask", "--json", forgotten}).output;
  const auto articles = json::parse(answer)["deflection_articles"];
  EXPECT_EQ(articles[0].size(), 11U);
  const std::int64_t first = articles[0]["article_id"];
  const std::int64_t second = articles[1]["article_id"];
  const Arguments resolve{"--verbose", "resolve", "--interaction", "-", "--article", "1"};
  const Arguments reject{"-c", "read line; exec " PELLIX_PROGRAM
                               " reject --interaction - --reason 2 --article-id " +
                                   std::to_string(second)};
  EXPECT_EQ(pellix(resolve, {}, answer).exitCode, 0);
  EXPECT_EQ(pellix(reject, {}, "What another has read.\n" + answer, "/bin/sh").exitCode, 0);
  const auto record = service.record();
  ASSERT_EQ(record.resolutions.size() + record.votes.size() + record.rejections.size(), 3U);
  EXPECT_EQ(record.resolutions.at(0).articleId, first);
  EXPECT_EQ(record.votes.at(0).articleId, first);
  EXPECT_EQ(record.rejections.at(0).articleId, second);
  EXPECT_EQ(record.rejections.at(0).reasonId, 2);

  service.setMisbehaviour("resolve", "none");
  service.setMisbehaviour("vote", "status:503");
  const auto voteless = pellix(resolve, {}, answer);
  EXPECT_EQ(voteless.exitCode, 0);
  EXPECT_THAT(voteless.errors, HasSubstr("debug: Could not upvote article with id="));

  for (const auto& [fault, limit, isUnknown] :
       {std::tuple("status:404", "30", false), std::tuple("status:503", "30", true),
        std::tuple("delay:3600000", "2", true)}) {
    service.setMisbehaviour("resolve", fault);
    const auto outcome =
        pellix({"--timeout", limit, "resolve", "--interaction", "-", "--article", "1"}, {}, answer);
    EXPECT_EQ(outcome.exitCode, 1) << fault;
    EXPECT_EQ(outcome.errors.contains("look there before you report again"), isUnknown) << fault;
  }

  for (const auto& row : rows["misuses"]) {
    const auto outcome = pellix(row[0], {}, answer);
    EXPECT_EQ(outcome.exitCode, 2) << row;
    EXPECT_THAT(outcome.errors, AllOf(StartsWith("pellix: "), HasSubstr(row[1])));
  }
  EXPECT_EQ(pellix({"--help"}).exitCode, 0);
}

TEST_F(CommandLine, SaysWhatItCouldNotWrite) {
  for (const std::string rest :
       {"ask q >/dev/full", "doctor --json >/dev/full", "doctor --report /dev/full", "ask q >&-",
        "--help >/dev/full", "--version >/dev/full", "--version >&-"}) {
    const auto outcome = pellix({"-c", "exec " PELLIX_PROGRAM " " + rest}, {}, "", "/bin/sh");
    EXPECT_EQ(outcome.exitCode, 1) << rest;
    EXPECT_THAT(outcome.errors, StartsWith("pellix: cannot write"));
  }
  for (const auto& [rest, exitCode] : std::map<std::string, int>{
           {"bogus 2>&-", 2}, {"bogus 2>/dev/full", 2}, {"ask --timings q 2>/dev/full", 0}}) {
    const auto outcome = pellix({"-c", "exec " PELLIX_PROGRAM " " + rest}, {}, "", "/bin/sh");
    EXPECT_EQ(outcome.exitCode, exitCode) << rest;
  }
}

TEST_F(CommandLine, ReadsTheTokenFromAFileAndNeverShowsIt) {
  const Support::TemporaryDirectory directory;
  directory.write("token", "demo-token\n");
  const auto outcome =
      pellix({"--verbose", "--token-file", directory.path() / "token", "ask", forgotten},
             {"PELLIX_TOKEN", "wrong"});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.errors, AllOf(HasSubstr("debug: Initialized Providers with UUID: "),
                                    HasSubstr("info: Initializing Pellix SDK."),
                                    HasSubstr("debug: UUID for deflection: ")));
  EXPECT_THAT(outcome.output + outcome.errors, Not(HasSubstr("demo-token")));
}

}  // namespace
