#include "Support/Process.h"

#include <AnswerService.h>
#include <gmock/gmock.h>

namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

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

/// An answer whose texts would steer a terminal.
const char* const steering =
    R"(body:{"deflection":{"id":1,"auth_token":"t"},"interaction_access_token":"t",)"
    R"("deflection_articles":[{"id":1,"title":"title\u001B]0;a\u0007\u009B2J","url":"",)"
    R"("html_url":"https://a.example/\u001Bc\u009B2J","label_names":[],"body":"","article_id":1,)"
    R"("locale":"en-us","brand_id":3,"score":0.5,"snippet":"\u001Bc\u009B2J"}]})";

/// Every program of the documentation prints the articles, or why there are none, and nothing that
/// steers the terminal.
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
    EXPECT_THAT(answered.output, ContainsRegex("password|[1-9][0-9]* articles"));
    EXPECT_THAT(answered.errors, IsEmpty());

    service.setMisbehaviour("interaction", steering);
    const auto steered = Support::runProcess(command, environment);
    EXPECT_THAT(steered.output, ContainsRegex("title|1 articles"));
    EXPECT_THAT(steered.output, AllOf(Not(HasSubstr("\x1B")), Not(HasSubstr("\xC2\x9B"))));
    service.clearMisbehaviours();

    environment["PELLIX_TOKEN"] = "another";
    const auto refused = Support::runProcess(command, environment);
    EXPECT_THAT(refused.output + refused.errors, HasSubstr("nauthorized"));
  }
}

}  // namespace
