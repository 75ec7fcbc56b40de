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

void PrintTo(const Example& example, std::ostream* out) {
  *out << example.name;
}

const Example examples[] = {
    {"C", {ASK_C}},
#ifdef ASK_PY
    {"Python", {PYTHON, ASK_PY}, {{"PELLIX_LIBRARY", SHARED_LIBRARY}}},
#endif
};

class Account : public testing::Test {
 protected:
  Account() {
    service.start();
    std::ofstream(certificates) << service.certificatePem();
  }

  Support::Outcome run(Example example, const std::string& question, const std::string& token) {
    example.command.push_back(question);
    example.environment["PELLIX_ACCOUNT_URL"] = service.baseUrl();
    example.environment["PELLIX_TOKEN"] = token;
    example.environment["PELLIX_CERTIFICATES"] = certificates;
    return Support::runProcess(std::move(example.command), example.environment);
  }

  AnswerService::Service service{{.token = "demo-token", .tls = true}};
  Support::TemporaryDirectory directory;
  std::string certificates = directory.path() / "certificates.pem";
};

class Examples : public Account, public testing::WithParamInterface<Example> {
 protected:
  Support::Outcome ask(const std::string& question, const std::string& token = "demo-token") {
    return run(GetParam(), question, token);
  }
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

#ifdef VALGRIND
TEST_F(Account, IsUsedInCWithoutLeaksOrFaults) {
  const Example example{
      "C",
      {VALGRIND, "--quiet", "--leak-check=full", "--error-exitcode=99",
       "--errors-for-leak-kinds=definite,indirect", "--show-leak-kinds=definite,indirect", ASK_C}};
  const auto outcome = run(example, "How do I change my password?", "demo-token");
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.errors, IsEmpty());
  EXPECT_EQ(service.record().rejections.size(), 1U);
}
#endif

}  // namespace
