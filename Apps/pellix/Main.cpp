#include "Commands.h"
#include "Failure.h"
#include "Options.h"

#include <utility>

namespace {

using namespace PellixApp;

ExitCode run(int argc, char** argv) {
  const auto options = readOptions(argc, argv);
  if (!options) return options.error();
  const auto pellix = setUp(*options);
  if (!pellix) return reportFailure(pellix.error());
  switch (options->command) {
    case Command::ask:
      return ask(**pellix, *options);
    case Command::settings:
      return settings();
  }
  std::unreachable();
}

}  // namespace

int main(int argc, char** argv) {
  return std::to_underlying(run(argc, argv));
}
