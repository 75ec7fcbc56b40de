#include "Support/Process.h"
#include "Support/TemporaryDirectory.h"

#include <AnswerService.h>
#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
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
  Examples() {
    service.start();
    directory.write("own.pem", service.certificatePem());
  }

  Support::Outcome ask(const std::string& question, const std::string& token = "demo-token") {
    auto [name, command, environment] = GetParam();
    command.push_back(question);
    environment["PELLIX_ACCOUNT_URL"] = service.baseUrl();
    environment["PELLIX_TOKEN"] = token;
    environment["PELLIX_CERTIFICATES"] = directory.path() / "own.pem";
    return Support::runProcess(std::move(command), environment);
  }

  AnswerService::Service service{{.token = "demo-token", .tls = true}};
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

INSTANTIATE_TEST_SUITE_P(Host, Examples, testing::ValuesIn(examples),
                         [](const auto& each) { return each.param.name; });

}  // namespace
