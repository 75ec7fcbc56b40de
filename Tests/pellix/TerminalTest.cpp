#include "Support/PseudoTerminal.h"
#include "Support/Rows.h"
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

  Support::PseudoTerminal ask(Environment environment = {{"TERM", "xterm"}},
                              unsigned short columns = 80) {
    environment.insert({{"PELLIX_ACCOUNT_URL", service.baseUrl()}, {"PELLIX_TOKEN", "demo-token"}});
    return {{PELLIX_PROGRAM, "ask", "I forgot my password."}, environment, columns};
  }

  AnswerService::Service service{{.token = "demo-token"}};
};

TEST_F(OnATerminal, ThePersonReadsRejectsAndResolves) {
  auto terminal = ask();
  EXPECT_THAT(terminal.readUntil("\n> "), HasSubstr("\033[1m1. I forgot my password"));
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
  EXPECT_EQ(record.rejections.at(0).reasonId, 2);
  EXPECT_EQ(record.resolutions.size() + record.votes.size(), 2U);
}

TEST_F(OnATerminal, KeysLeave) {
  const std::vector<std::tuple<std::string, std::string, std::string, int>> rows{
      {"vote", "\n> ", "\n", 0},
      {"vote", "\n> ", "\x04", 0},
      {"vote", "\n> ", "\x03", -SIGINT},
      {"settings", "Asking...", "\x03", -SIGINT},
      {"interaction", "Asking...", "\x03", -SIGINT}};
  for (const auto& [delayed, shown, key, exitCode] : rows) {
    service.setMisbehaviour(delayed, "delay:60000");
    auto terminal = ask();
    terminal.readUntil(shown);
    terminal.type(key);
    EXPECT_EQ(terminal.wait(), exitCode) << delayed;
    service.clearMisbehaviours();
  }
}

TEST_F(OnATerminal, FitsTheWidthAndShowsNoColourToWhomItDoesNotSuit) {
  for (const char* noColor : {"1", ""}) {
    auto terminal = ask({{"NO_COLOR", noColor}, {"TERM", *noColor ? "xterm" : "dumb"}}, 30);
    const auto shown = terminal.readUntil("\n> ");
    EXPECT_THAT(shown, Not(HasSubstr("\033")));
    EXPECT_THAT(shown, HasSubstr("Type a\r\nnumber"));
  }
}

TEST(Terminal, BreaksLinesAtBlanksAndBetweenWideCharacters) {
  const auto fit = [](std::size_t width, std::string_view text, std::string_view indent) {
    return PellixApp::Terminal{.width = width}.fit(text, indent);
  };
  for (const auto& row : Support::rowsOf("pellix/Data/Lines.txt")) {
    EXPECT_EQ(fit(std::stoul(row[0]), row[1], row[2]), row[3]) << row[1];
  }
  for (std::size_t width = 1; width <= 200; ++width) {
    std::istringstream lines(fit(width, "one two three four five six", "    "));
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), width);
  }
}

}  // namespace
