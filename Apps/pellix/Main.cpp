#include "Commands.h"
#include "Failure.h"
#include "Options.h"

#include <PellixPlatform/Bundle.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
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

/// What this program opens must not take the place of a stream that it was started without: then
/// writing to that fails.
void keepStandardStreams() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    const bool isOpen = ::fcntl(descriptor, F_GETFD) >= 0;
    if (!isOpen) ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

/// What was written may still wait for its way out, and find the disk full.
ExitCode runAndFlush(int argc, char** argv) {
  const auto code = run(argc, argv);
  if (std::fflush(stdout) == 0) return code;
  throw std::system_error(errno, std::generic_category(), "cannot write to standard output");
}

}  // namespace

int main(int argc, char** argv) {
  keepStandardStreams();
  try {
    return std::to_underlying(runAndFlush(argc, argv));
  } catch (const std::system_error& error) {
    complain(error.what());
    return std::to_underlying(ExitCode::failed);
  }
}
