#include "Conversation.h"

#include "Articles.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace PellixApp {
namespace {

using PellixProvidersSDK::makeRejectionReason;

constexpr const char* instructions =
    "Type a number to read that article, \"y\" and its number if it helped, \"n\" and its number "
    "if "
    "it did not, or just press Enter to end.";

void say(std::string_view text) {
  fmt::print("{}", Terminal::of(stdout).fit(text));
}

/// A line that the person types, or nothing at the end of the input.
std::optional<std::string> readLine() {
  fmt::print("> ");
  std::fflush(stdout);
  std::string line;
  for (int c = std::getchar(); c != '\n'; c = std::getchar()) {
    if (c == EOF) return line.empty() ? std::nullopt : std::optional(line);
    line += static_cast<char>(c);
  }
  return line;
}

/// What the person typed: a letter, if any, and a number.
struct Wish {
  char letter = 0;
  std::size_t number = 0;
};

std::optional<Wish> wishIn(std::string_view line) {
  const auto trim = [&line] {
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  };
  Wish wish;
  trim();
  if (line.starts_with('y') || line.starts_with('n')) {
    wish.letter = line.front();
    line.remove_prefix(1);
    trim();
  }
  const auto [end, failure] = std::from_chars(line.data(), line.data() + line.size(), wish.number);
  line.remove_prefix(static_cast<std::size_t>(end - line.data()));
  trim();
  if (failure != std::errc{} || !line.empty()) return std::nullopt;
  return wish;
}

std::optional<RejectionReason> askForReason() {
  say("Why not? Type the reason's number, 0, 1 or 2.");
  const auto line = readLine();
  const auto wish = line ? wishIn(*line) : std::nullopt;
  if (!wish || wish->letter) return std::nullopt;
  return makeRejectionReason(static_cast<std::int64_t>(wish->number));
}

}  // namespace

ExitCode converse(const Pellix& pellix,
                  const std::shared_ptr<const PellixProvidersSDK::DeflectionResponse>& response) {
  const auto& articles = response->deflectionArticles();
  say(fmt::format("\nDid one of these help? {}", instructions));
  while (true) {
    const auto line = readLine();
    if (!line || line->empty()) {
      if (!line) fmt::print("\n");
      return ExitCode::answered;
    }
    const auto wish = wishIn(*line);
    if (!wish || wish->number < 1 || articles.size() < wish->number) {
      say(instructions);
      continue;
    }
    const Interaction interaction{response, articles[wish->number - 1]};
    if (wish->letter == 'y') return resolve(pellix, interaction);
    if (wish->letter != 'n') {
      prepare();
      showArticle(*interaction.article, Terminal::of(stdout));
    } else if (const auto reason = askForReason()) {
      if (const auto end = reject(pellix, interaction, *reason); end != ExitCode::answered) {
        return end;
      }
    } else {
      say("Nothing is reported.");
    }
  }
}

}  // namespace PellixApp
