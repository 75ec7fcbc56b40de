#include "Support/Process.h"

#include <PellixPlatform/internal/File.h>

#include <gmock/gmock.h>

#include <regex>
#include <set>

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

constexpr const char* sources = TESTS_SOURCE_DIR "/../Apps/pellix/";

/// All that `pattern`'s group matches in what a command's help says before its footer.
std::set<std::string> inHelp(const std::string& command, const char* pattern) {
  auto help = Support::runProcess({"/bin/sh", "-c", PELLIX_PROGRAM " --help " + command}).output;
  help.resize(help.find("The bearer token"));
  const std::regex expression(pattern);
  std::set<std::string> found;
  for (std::sregex_iterator at(help.begin(), help.end(), expression), end; at != end; ++at) {
    found.insert(at->str(1));
  }
  return found;
}

/// What bash offers for a last word.
std::string completionsOf(const std::string& command, const std::string& word) {
  const auto script = std::string("source ") + sources + "Completion/pellix.bash\n" +
                      "COMP_WORDS=(pellix --locale de --timeout = 5 " + command + " '" + word +
                      "')\n" +
                      "COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _pellix; echo \" ${COMPREPLY[*]} \"";
  return Support::runProcess({"/bin/bash", "-c", script}).output;
}

TEST(Manual, TellsOfAllThatTheHelpDoesAndTheCompletionsOfferIt) {
  const auto page = PellixPlatform::readFile(std::string(sources) + "pellix.1").value();
  const auto zsh = PellixPlatform::readFile(std::string(sources) + "Completion/_pellix").value();
  auto commands = inHelp("", "\n  ([a-z]+)  ");
  ASSERT_EQ(commands.size(), 5U);
  for (const auto& command : commands) {
    EXPECT_THAT(page, HasSubstr(".It Cm " + command));
    EXPECT_THAT(zsh, HasSubstr("'" + command + ":"));
    EXPECT_THAT(completionsOf("", ""), HasSubstr(" " + command + " "));
  }
  commands.insert("");
  for (const auto& command : commands) {
    const auto offered = completionsOf(command, "--");
    for (const auto& option : inHelp(command, "\n +(?:-h,)?--([a-z-]+)")) {
      EXPECT_THAT(page, ContainsRegex("\\.It.* Fl -" + option + "[ \n]"));
      EXPECT_THAT(zsh, HasSubstr("--" + option + "["));
      EXPECT_THAT(offered, HasSubstr(" --" + option + " ")) << command;
    }
  }
}

}  // namespace
