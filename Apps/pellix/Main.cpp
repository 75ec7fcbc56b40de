#include "Commands.h"
#include "Failure.h"
#include "Options.h"

#include <PellixPlatform/Bundle.h>

#include <fmt/core.h>

#include <utility>

namespace {

using namespace PellixApp;

/// What a command that reports needs is read first: nothing is set up for a wrong command line.
bool isReport(Command command) {
  return command == Command::resolve || command == Command::reject;
}

ExitCode run(int argc, char** argv) {
  const auto options = readOptions(argc, argv);
  if (!options) return options.error();
  std::expected<Interaction, std::string> interaction;
  if (isReport(options->command)) interaction = readInteraction(*options);
  if (!interaction) return refuse(interaction.error());
  if (!options->resources.empty()) {
    const auto set = PellixPlatform::Bundle::setResourceDirectory(options->resources);
    if (!set) return refuse(set.error().localizedDescription());
  }
  if (options->command == Command::doctor) return doctor(*options);
  const auto pellix = setUp(*options);
  if (!pellix) return reportFailure(pellix.error());
  switch (options->command) {
    case Command::ask:
      return ask(**pellix, *options);
    case Command::doctor:
      break;
    case Command::settings:
      return settings();
    case Command::resolve:
      return resolve(**pellix, *interaction);
    case Command::reject:
      return reject(**pellix, *interaction, options->reason);
  }
  std::unreachable();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return std::to_underlying(run(argc, argv));
  } catch (const Interrupted&) {
    fmt::print(stderr, "\n");
    return std::to_underlying(ExitCode::interrupted);
  }
}
