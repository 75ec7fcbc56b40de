#include "Support/Process.h"
#include "Support/TemporaryDirectory.h"

#include <AnswerService.h>
#include <gmock/gmock.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// A host of Examples/, and what it takes to run it.
struct Example {
  const char* name;
  std::vector<std::string> command;
  std::map<std::string, std::string> environment = {};
};

void PrintTo(const Example& example, std::ostream* out) {
  *out << example.name;
}

const Example examples[] = {
    {"C", {ASK_C}},
#ifdef VALGRIND
    {"CWithoutLeaksOrFaults",
     {VALGRIND, "--quiet", "--leak-check=full", "--error-exitcode=99",
      "--errors-for-leak-kinds=definite,indirect", "--show-leak-kinds=definite,indirect", ASK_C}},
#endif
#ifdef ASK_PY
    {"Python", {PYTHON, ASK_PY}, {{"PELLIX_LIBRARY", SHARED_LIBRARY}}},
    {"Ruby", {RUBY, ASK_RB}, {{"PELLIX_LIBRARY", SHARED_LIBRARY}}},
#endif
};

class Examples : public testing::TestWithParam<Example> {
 protected:
  explicit Examples(bool tls = true) : service{{.token = "demo-token", .tls = tls}} {
    service.start();
    directory.write("own.pem", service.certificatePem());
  }

  Support::Outcome ask(const std::string& question, const std::string& token = "demo-token") {
    auto [name, command, environment] = GetParam();
    command.push_back(question);
    environment["PELLIX_ACCOUNT_URL"] = service.baseUrl();
    environment["PELLIX_TOKEN"] = token;
    environment["PELLIX_CERTIFICATES"] = directory.path() / "own.pem";
    environment["XDG_RUNTIME_DIR"] = directory.path();
    return Support::runProcess(std::move(command), environment);
  }

  AnswerService::Service service;
  Support::TemporaryDirectory directory;
};

TEST_P(Examples, AskResolveAndReject) {
  const auto outcome = ask("How do I change my password?");
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.errors, IsEmpty());

  const auto record = service.record();
  ASSERT_EQ(record.queries.size(), 1U);
  const auto found = record.queries.front().articleIds;
  ASSERT_GE(found.size(), 2U);
  EXPECT_THAT(outcome.output, StartsWith("1. "));
  EXPECT_THAT(outcome.output, HasSubstr("Resolved by article " + std::to_string(found[0]) +
                                        ".\nRejected article " + std::to_string(found[1]) + ".\n"));
  ASSERT_EQ(record.resolutions.size() + record.votes.size() + record.rejections.size(), 3U);
  EXPECT_EQ(record.resolutions.at(0).articleId, found[0]);
  EXPECT_EQ(record.votes.at(0).articleId, found[0]);
  EXPECT_EQ(record.rejections.at(0).articleId, found[1]);
  EXPECT_EQ(record.rejections[0].reasonId, 2);
}

TEST_P(Examples, SayWhatWentWrongAndEndWhenAnOperationEndsSilently) {
  const auto refused = ask("Password", "wrong");
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.errors, HasSubstr("com.pellix.providers (401): Unauthorized\n"));

  const auto silent = ask("\xFF");
  EXPECT_EQ(silent.exitCode, 1);
  EXPECT_THAT(silent.output, HasSubstr("Error: Encoding failed"));

  // The error comes on the core's worker thread.
  service.setMisbehaviour("settings", "disabled");
  const auto disabled = ask("Password");
  EXPECT_EQ(disabled.exitCode, 1);
  EXPECT_THAT(disabled.errors, HasSubstr("QV_Pellix_Disabled (1006): "));
  EXPECT_TRUE(service.record().queries.empty());
}

/// Programs that report that the first article helped; those for people show what the articles say
/// and are told that the second one did not.
const Example programs[] = {
    {"Coroutines", {COROUTINES}},
    {"TerminalDesk", {"sh", "-c", R"(printf '%s\nhelped 1\nno 2' "$1" | "$0")", TERMINAL_DESK}},
#ifdef GTK_WINDOW
    {"GtkWindow",
     {XVFB, "-a", "env", "LD_PRELOAD=" DRIVE_GTK, GTK_WINDOW},
     {{"G_DEBUG", "fatal-criticals"},
      {"GSETTINGS_BACKEND", "memory"},
      {"GSK_RENDERER", "cairo"},
      {"GTK_A11Y", "none"}}},
#endif
#ifdef QT_WINDOW
    {"QtWindow", {XVFB, "-a", "env", "LD_PRELOAD=" DRIVE_QT, QT_WINDOW}},
#endif
};

class Programs : public Examples {
 protected:
  Programs() : Examples(false) {}
};

TEST_P(Programs, ShowArticlesAsTextAndReportOnThem) {
  const auto asked = ask("How do I change my password?");
  EXPECT_EQ(asked.exitCode, 0);
  EXPECT_THAT(asked.output, HasSubstr("\nThank you.\n"));
  const auto record = service.record();
  const auto found = record.queries.at(0).articleIds;
  EXPECT_EQ(record.resolutions.at(0).articleId, found.at(0));
  EXPECT_EQ(record.votes.at(0).articleId, found.at(0));
  const bool isForPeople = GetParam().command.front() != COROUTINES;
  if (isForPeople) {
    EXPECT_EQ(record.rejections.at(0).articleId, found.at(1));
  }

  service.setMisbehaviour(
      "interaction",
      R"(body:{"deflection":{"id":1,"auth_token":"t"},"interaction_access_token":"t",)"
      R"("deflection_articles":[{"id":1,"title":"The <b> tag\u001B]0;a\u009B2J","url":"",)"
      R"("html_url":"\u001Bc","label_names":[],"body":"","article_id":1,"locale":"en-us",)"
      R"("brand_id":3,"score":0.5,"snippet":"<img src='x'>\u001Bc1 &lt; 2<i>!</i>\u009B"}]})");
  const auto steered = ask("Password").output;
  EXPECT_THAT(steered,
              AllOf(HasSubstr("The <b> tag"), HasSubstr(isForPeople ? "1 < 2" : ""),
                    Not(HasSubstr("<i")), Not(HasSubstr("\x1B")), Not(HasSubstr("\xC2\x9B"))));

  const auto refused = ask("Password", "wrong");
  EXPECT_THAT(refused.output + refused.errors, HasSubstr("Unauthorized"));
}

constexpr auto nameOf = [](const auto& each) { return each.param.name; };
INSTANTIATE_TEST_SUITE_P(Host, Examples, testing::ValuesIn(examples), nameOf);
INSTANTIATE_TEST_SUITE_P(Host, Programs, testing::ValuesIn(programs), nameOf);

}  // namespace
