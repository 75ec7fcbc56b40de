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
    "if\n"
    "it did not, or just press Enter to end.\n";

std::optional<std::string> prompt(const char* text) {
  fmt::print("{}", text);
  std::fflush(stdout);
  return EventLoop::shared().readLine();
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
  const auto line = prompt("Why not? Type the reason's number, 0, 1 or 2: ");
  const auto wish = line ? wishIn(*line) : std::nullopt;
  if (!wish || wish->letter) return std::nullopt;
  return makeRejectionReason(static_cast<std::int64_t>(wish->number));
}

}  // namespace

ExitCode converse(const Pellix& pellix,
                  const std::shared_ptr<const PellixProvidersSDK::DeflectionResponse>& response) {
  const auto& articles = response->deflectionArticles();
  fmt::print("\nDid one of these help? {}", instructions);
  while (true) {
    const auto line = prompt("> ");
    if (!line || line->empty()) {
      if (!line) fmt::print("\n");
      return ExitCode::answered;
    }
    const auto wish = wishIn(*line);
    if (!wish || wish->number < 1 || articles.size() < wish->number) {
      fmt::print("{}", instructions);
      continue;
    }
    const Interaction interaction{response, articles[wish->number - 1]};
    if (wish->letter == 'y') return resolve(pellix, interaction);
    if (wish->letter != 'n') {
      showArticle(*interaction.article, Terminal::look());
    } else if (const auto reason = askForReason()) {
      if (const auto end = reject(pellix, interaction, *reason); end != ExitCode::answered) {
        return end;
      }
    } else {
      fmt::print("Nothing is reported.\n");
    }
  }
}

}  // namespace PellixApp
