#include "Support/Process.h"

#include <AnswerService.h>
#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::vector<std::string>> commands() {
  std::vector<std::vector<std::string>> all;
  for (const char* program : {PROGRAMS}) all.push_back({program});
#ifdef PYTHON
  all.push_back({PYTHON, PYTHON_PROGRAM});
#endif
#ifdef JAVA
  all.push_back({JAVA, "-cp", JAR, JAVA_PROGRAM});
#endif
  return all;
}

/// Every program of the documentation prints the articles, or why there are none.
TEST(Documentation, ProgramsAsk) {
  AnswerService::Service service{{.token = "demo-token"}};
  service.start();
  std::map<std::string, std::string> environment{{"PELLIX_ACCOUNT_URL", service.baseUrl()},
                                                 {"PELLIX_TOKEN", "demo-token"}};
#ifdef SHARED_LIBRARY
  environment["PELLIX_LIBRARY"] = SHARED_LIBRARY;
#endif
  const std::string question = "I forgot my password";
  for (auto command : commands()) {
    SCOPED_TRACE(command.back());
    command.push_back(question);
    environment["PELLIX_TOKEN"] = "demo-token";
    const auto answered = Support::runProcess(command, environment);
    EXPECT_EQ(answered.exitCode, 0);
    EXPECT_THAT(answered.output, HasSubstr("password"));
    EXPECT_THAT(answered.errors, IsEmpty());

    environment["PELLIX_TOKEN"] = "another";
    const auto refused = Support::runProcess(command, environment);
    EXPECT_THAT(refused.output + refused.errors, HasSubstr("nauthorized"));
  }
}

}  // namespace
