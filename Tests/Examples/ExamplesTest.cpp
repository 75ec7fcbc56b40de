#include "Support/Process.h"
#include "Support/TemporaryDirectory.h"

#include <AnswerService.h>
#include <gmock/gmock.h>

#include <fstream>

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

const Example examples[] = {
    {"C", {ASK_C}},
#ifdef VALGRIND
    {"CUnderValgrind",
     {VALGRIND, "--quiet", "--leak-check=full", "--errors-for-leak-kinds=definite,indirect",
      "--error-exitcode=99", ASK_C}},
#endif
#ifdef ASK_PY
    {"Python", {PYTHON, ASK_PY}, {{"PELLIX_LIBRARY", SHARED_LIBRARY}}},
#endif
};

class Examples : public testing::TestWithParam<Example> {
 protected:
  Examples() {
    service.start();
    std::ofstream(certificates) << service.certificatePem();
  }

  Support::Outcome ask(const std::string& question, const std::string& token = "demo-token") {
    auto [name, command, environment] = GetParam();
    command.push_back(question);
    environment["PELLIX_ACCOUNT_URL"] = service.baseUrl();
    environment["PELLIX_TOKEN"] = token;
    environment["PELLIX_CERTIFICATES"] = certificates;
    return Support::runProcess(std::move(command), environment);
  }

  AnswerService::Service service{{.tls = true}};
  Support::TemporaryDirectory directory;
  std::string certificates = directory.path() / "certificates.pem";
};

TEST_P(Examples, AskResolveAndReject) {
  const auto outcome = ask("How do I change my password?");
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.errors, IsEmpty());

  const auto record = service.record();
  ASSERT_EQ(record.queries.size(), 1U);
  const auto& query = record.queries.front();
  ASSERT_GE(query.articleIds.size(), 2U);
  EXPECT_THAT(outcome.output, StartsWith("1. "));
  EXPECT_THAT(outcome.output,
              HasSubstr("Resolved by article " + std::to_string(query.articleIds[0]) +
                        ".\nRejected article " + std::to_string(query.articleIds[1]) + ".\n"));
  ASSERT_EQ(record.resolutions.size(), 1U);
  EXPECT_EQ(record.resolutions[0].articleId, query.articleIds[0]);
  ASSERT_EQ(record.rejections.size(), 1U);
  EXPECT_EQ(record.rejections[0].articleId, query.articleIds[1]);
  EXPECT_EQ(record.rejections[0].reasonId, 2);
  ASSERT_EQ(record.votes.size(), 1U);
  EXPECT_EQ(record.votes[0].articleId, query.articleIds[0]);
}

TEST_P(Examples, SayWhatWentWrong) {
  const auto refused = ask("Password", "wrong");
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.errors, HasSubstr("com.pellix.providers (401): Unauthorized\n"));

  // The error comes on the core's worker thread.
  service.setMisbehaviour("settings", "disabled");
  const auto disabled = ask("Password");
  EXPECT_EQ(disabled.exitCode, 1);
  EXPECT_THAT(disabled.errors, HasSubstr("QV_Pellix_Disabled (1006): "));
}

TEST_P(Examples, EndWhenAnOperationEndsSilently) {
  const auto outcome = ask("\xFF");
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_THAT(outcome.output, HasSubstr("Error: Encoding failed"));
  EXPECT_TRUE(service.record().queries.empty());
}

INSTANTIATE_TEST_SUITE_P(Host, Examples, testing::ValuesIn(examples),
                         [](const auto& each) { return each.param.name; });

}  // namespace
