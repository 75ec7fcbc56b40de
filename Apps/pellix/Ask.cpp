#include "Articles.h"
#include "Commands.h"
#include "Conversation.h"
#include "Failure.h"
#include "Printable.h"

#include <PellixPlatform/JSONEncoder.h>

#include <fmt/core.h>

namespace PellixApp {

using PellixProvidersSDK::DeflectionResponse;
using Answer = PellixProvidersSDK::Result<DeflectionResponse>;

ExitCode ask(const Pellix& pellix, const Options& options) {
  const auto answer = await<Answer>([&](auto callback) {
    pellix.provider()->getDeflectionForQuery(
        options.question,
        PellixProvidersSDK::ResultCallback<DeflectionResponse>(std::move(callback)));
  });
  if (timings()) tell(timings()->table());
  if (!answer) return reportSilence();
  if (!*answer) return reportFailure(answer->error());

  const DeflectionResponse& response = **answer.value();
  if (!options.json) {
    const auto terminal = Terminal::of(stdout);
    listArticles(response, terminal);
    const bool offersMore = terminal.isInteractive && !response.deflectionArticles().empty();
    return offersMore ? converse(pellix, **answer) : ExitCode::answered;
  }
  const auto encoded = PellixPlatform::JSONEncoder().encode(response);
  if (!encoded) return reportFailure(encoded.error());
  fmt::print("{}\n", printableJSON(*encoded));
  return ExitCode::answered;
}

}  // namespace PellixApp
