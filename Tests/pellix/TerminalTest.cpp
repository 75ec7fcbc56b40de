#include "Support/PseudoTerminal.h"
#include "Terminal.h"

#include <AnswerService.h>
#include <gmock/gmock.h>

#include <sstream>

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* forgotten = "I forgot my password, how do I get back in?";

class OnATerminal : public testing::Test {
 protected:
  OnATerminal() { service.start(); }

  [[nodiscard]] std::map<std::string, std::string> environment() const {
    return {{"PELLIX_ACCOUNT_URL", service.baseUrl()},
            {"PELLIX_TOKEN", "demo-token"},
            {"TERM", "xterm"}};
  }

  AnswerService::Service service;
};

TEST_F(OnATerminal, ThePersonReadsRejectsAndResolves) {
  Support::PseudoTerminal terminal({PELLIX_PROGRAM, "ask", forgotten}, environment());
  EXPECT_THAT(terminal.readUntil("\n> "), HasSubstr("\033[1mI forgot my password\033[0m"));
  terminal.type("1\n");
  EXPECT_THAT(terminal.readUntil("\n> "), HasSubstr("- "));  // the article's list
  terminal.type("7\n");
  EXPECT_THAT(terminal.readUntil("\n> "), HasSubstr("Type a number"));
  terminal.type("n 2\n");
  terminal.readUntil("Why not?");
  terminal.type("3\n");
  EXPECT_THAT(terminal.readUntil("\n> "), HasSubstr("Nothing is reported."));
  terminal.type("n2\n");
  terminal.readUntil("Why not?");
  terminal.type("2\n");
  EXPECT_THAT(terminal.readUntil("\n> "), HasSubstr("did not help."));
  terminal.type("y 1\n");
  EXPECT_EQ(terminal.wait(), 0);
  EXPECT_THAT(terminal.screen(), HasSubstr("Reported that \"I forgot my password\" resolved"));

  const auto record = service.record();
  ASSERT_EQ(record.rejections.size(), 1U);
  EXPECT_EQ(record.rejections[0].reasonId, 2);
  EXPECT_EQ(record.resolutions.size(), 1U);
  EXPECT_EQ(record.votes.size(), 1U);
}

TEST_F(OnATerminal, EnterAndTheEndOfInputLeave) {
  for (const char* key : {"\n", "\x04"}) {
    Support::PseudoTerminal terminal({PELLIX_PROGRAM, "ask", forgotten}, environment());
    terminal.readUntil("\n> ");
    terminal.type(key);
    EXPECT_EQ(terminal.wait(), 0);
  }
}

TEST_F(OnATerminal, FitsTheWidthAndObeysNoColor) {
  auto plain = environment();
  plain["NO_COLOR"] = "1";
  Support::PseudoTerminal terminal({PELLIX_PROGRAM, "ask", forgotten}, plain, 40);
  const auto shown = terminal.readUntil("Did one");
  EXPECT_THAT(shown, Not(HasSubstr("\033")));
  std::istringstream lines(shown);
  int count = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("   ") && line.find("https://") == line.npos) {
      EXPECT_LE(line.size(), 40U + std::string("…\r").size()) << line;
      ++count;
    }
  }
  EXPECT_GT(count, 0);
}

TEST_F(OnATerminal, CtrlCEndsCleanlyAtThePromptAndWhileWaiting) {
  {
    Support::PseudoTerminal terminal({PELLIX_PROGRAM, "ask", forgotten}, environment());
    terminal.readUntil("\n> ");
    terminal.type("\x03");
    EXPECT_EQ(terminal.wait(), 130);
  }
  for (const char* endpoint : {"settings", "interaction"}) {
    service.setMisbehaviour(endpoint, "delay:60000");
    Support::PseudoTerminal terminal({PELLIX_PROGRAM, "ask", forgotten}, environment());
    terminal.readUntil("Asking...");
    terminal.type("\x03");
    EXPECT_EQ(terminal.wait(), 130) << endpoint;
    service.clearMisbehaviours();
  }
}

TEST(Terminal, BreaksLinesAtBlanksAndBetweenWideCharacters) {
  const PellixApp::Terminal narrow{.width = 20};
  const PellixApp::Terminal unlimited{};
  const std::string words = "one two three four five six";
  EXPECT_EQ(narrow.fit(words, "  "), "  one two three four\n  five six\n");
  EXPECT_EQ(unlimited.fit(words, "  "), "  one two three four five six\n");
  EXPECT_EQ(narrow.fit("パスワードを忘れてしまいました", ""), "パスワードを忘れてし\nまいました\n");
  EXPECT_EQ(narrow.fit("averyveryverylongwordindeed", ""), "averyveryverylongwor\ndindeed\n");
  EXPECT_EQ(narrow.fit("a\nb", "- "), "- a\n- b\n");
  EXPECT_EQ(narrow.fit("", "- "), "");
}

}  // namespace
