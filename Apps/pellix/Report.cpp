#include "Commands.h"
#include "Failure.h"
#include "Printable.h"
#include "Terminal.h"

#include <fmt/core.h>

namespace PellixApp {
namespace {

using PellixProvidersSDK::PellixDispatcherResponse;
using Callback = PellixProvidersSDK::ResultCallback<PellixDispatcherResponse>;
using Outcome = PellixProvidersSDK::Result<PellixDispatcherResponse>;

ExitCode finish(const std::optional<Outcome>& outcome, const Interaction& interaction,
                const char* what) {
  waitUntilIdle();
  if (!outcome) return reportSilence();
  if (!*outcome) return reportFailureOfReport(outcome->error());
  const auto title = oneLine(interaction.article->title());
  fmt::print("{}", Terminal::of(stdout).fit(fmt::format("Reported that \"{}\" {}.", title, what)));
  return ExitCode::answered;
}

}  // namespace

ExitCode resolve(const Pellix& pellix, const Interaction& interaction) {
  const auto outcome = await<Outcome>([&](Callback callback) {
    pellix.provider()->resolveWithArticle(
        interaction.response->deflection()->deflectionID(), interaction.article->articleId(),
        interaction.response->interactionAccessToken(), std::move(callback));
  });
  return finish(outcome, interaction, "resolved the question");
}

ExitCode reject(const Pellix& pellix, const Interaction& interaction, RejectionReason reason) {
  const auto outcome = await<Outcome>([&](Callback callback) {
    pellix.provider()->rejectWithArticle(
        interaction.response->deflection()->deflectionID(), interaction.article->articleId(),
        interaction.response->interactionAccessToken(), reason, std::move(callback));
  });
  return finish(outcome, interaction, "did not help");
}

}  // namespace PellixApp
