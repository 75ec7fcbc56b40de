#include "Support/PseudoTerminal.h"
#include "Terminal.h"

#include <AnswerService.h>
#include <gmock/gmock.h>

#include <csignal>
#include <sstream>

namespace {

using testing::HasSubstr;
using testing::Not;

using Environment = std::map<std::string, std::string>;

class OnATerminal : public testing::Test {
 protected:
  OnATerminal() { service.start(); }

  [[nodiscard]] Support::PseudoTerminal ask(const Environment& changes = {},
                                            unsigned short columns = 80) const {
    Environment environment{{"PELLIX_ACCOUNT_URL", service.baseUrl()},
                            {"PELLIX_TOKEN", "demo-token"},
                            {"TERM", "xterm"}};
    for (const auto& [name, value] : changes) environment[name] = value;
    return {{PELLIX_PROGRAM, "ask", "I forgot my password, how do I get back in?"},
            environment,
            columns};
  }

  AnswerService::Service service{{.token = "demo-token"}};
};

TEST_F(OnATerminal, ThePersonReadsRejectsAndResolves) {
  auto terminal = ask();
  EXPECT_THAT(terminal.readUntil("\n> "), HasSubstr("\033[1mI forgot my password\033[0m"));
  const std::vector<std::pair<std::string, std::string>> steps{
      {"1", "1. "},        {"7", "Type a number"},
      {"n 2", "Why not?"}, {"3", "Nothing is reported."},
      {"n2", "Why not?"},  {"2", "did not help."}};
  for (const auto& [keys, shown] : steps) {
    terminal.type(keys + "\n");
    EXPECT_THAT(terminal.readUntil("\n> "), HasSubstr(shown)) << keys;
  }
  terminal.type("y 1\n");
  EXPECT_EQ(terminal.wait(), 0);
  EXPECT_THAT(terminal.screen(), HasSubstr("Reported that \"I forgot my password\" resolved"));
  const auto record = service.record();
  ASSERT_EQ(record.rejections.size(), 1U);
  EXPECT_EQ(record.rejections[0].reasonId, 2);
  EXPECT_EQ(record.resolutions.size(), 1U);
  EXPECT_EQ(record.votes.size(), 1U);
}

TEST_F(OnATerminal, KeysLeave) {
  struct Row {
    std::string delayed, shown, key;
    int exitCode;
  };
  const std::vector<Row> rows{{"vote", "\n> ", "\n", 0},
                              {"vote", "\n> ", "\x04", 0},
                              {"vote", "\n> ", "\x03", -SIGINT},
                              {"settings", "Asking...", "\x03", -SIGINT},
                              {"interaction", "Asking...", "\x03", -SIGINT}};
  for (const auto& row : rows) {
    service.setMisbehaviour(row.delayed, "delay:60000");
    auto terminal = ask();
    terminal.readUntil(row.shown);
    terminal.type(row.key);
    EXPECT_EQ(terminal.wait(), row.exitCode) << row.delayed;
    service.clearMisbehaviours();
  }
}

TEST_F(OnATerminal, FitsTheWidthAndShowsNoColourToWhomItDoesNotSuit) {
  for (const auto& [name, value] : Environment{{"TERM", "dumb"}, {"NO_COLOR", "1"}}) {
    auto terminal = ask({{name, value}}, 30);
    const auto shown = terminal.readUntil("\n> ");
    EXPECT_THAT(shown, Not(HasSubstr("\033")));
    EXPECT_THAT(shown, HasSubstr("Type a\r\nnumber"));
  }
}

TEST(Terminal, BreaksLinesAtBlanksAndBetweenWideCharacters) {
  const std::string words = "one two three four five six";
  const auto fit = [](std::size_t width, std::string_view text, std::string_view indent = {}) {
    return PellixApp::Terminal{.width = width}.fit(text, indent);
  };
  EXPECT_EQ(fit(20, words, "  "), "  one two three four\n  five six\n");
  EXPECT_EQ(fit(0, words, "  "), "  one two three four five six\n");
  EXPECT_EQ(fit(20, "パスワードを忘れてしまいました"), "パスワードを忘れてし\nまいました\n");
  EXPECT_EQ(fit(20, "averyveryverylongwordindeed"), "averyveryverylongwor\ndindeed\n");
  EXPECT_EQ(fit(20, "a\nb", "- "), "- a\n- b\n");
  EXPECT_EQ(fit(20, "", "- "), "");
  EXPECT_EQ(fit(5, words, "   "), "one\ntwo\nthree\nfour\nfive\nsix\n");
  for (std::size_t width = 1; width <= 200; ++width) {
    std::istringstream lines(fit(width, words, "    "));
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), width);
  }
}

}  // namespace
