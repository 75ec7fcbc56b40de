#include "Commands.h"
#include "Doctor/Checks.h"
#include "Terminal.h"

#include <PellixPlatform/JSONEncoder.h>
#include <QuorvelCoreSDK/CoreLogger.h>

#include <fmt/core.h>

#include <algorithm>
#include <array>

namespace PellixApp {
namespace {

struct Check {
  const char* name;
  Finding (*run)(Examination& examination);
};

/// Each builds on those before it.
constexpr auto checks = std::to_array<Check>({
    {"resources", checkResources},
    {"endpoint-table", checkEndpointTable},
    {"library-version", checkLibraryVersion},
    {"account-address", checkAccountAddress},
    {"name-resolution", checkNameResolution},
    {"connection", checkConnection},
    {"tls", checkTLS},
    {"token", checkToken},
    {"query", checkQuery},
    {"settings", checkSettings},
    {"feature", checkFeature},
    {"knowledge-base", checkKnowledgeBase},
    {"query-locale", checkQueryLocale},
});

struct Report {
  bool healthy = false;
  std::vector<Finding> checks;

  void encode(PellixPlatform::Encoder& encoder) const {
    constexpr std::tuple keys{PellixPlatform::Key{"healthy", &Report::healthy},
                              PellixPlatform::Key{"checks", &Report::checks}};
    encoder.encode(*this, keys);
  }
};

/// In columns, or where they would be too narrow, with the text below its label.
void writeLine(const Terminal& terminal, const std::string& status, const std::string& label,
               const std::string& text) {
  constexpr std::size_t columns = 27;
  const bool isWide = terminal.width == 0 || terminal.width >= 2 * columns;
  const auto fitted = terminal.fit(text, std::string(isWide ? columns : 2, ' '));
  fmt::print("{}{:18}{}", status, label,
             isWide ? fitted.substr(std::min(columns, fitted.size())) : "\n" + fitted);
}

void writeLines(const Finding& finding) {
  const auto terminal = Terminal::of(stdout);
  const auto status = fmt::format("{:9}", finding.status);
  writeLine(terminal, finding.isProblem() ? terminal.bold(status) : status, finding.check,
            finding.found);
  if (finding.isProblem()) writeLine(terminal, std::string(9, ' '), "  remedy", *finding.remedy);
}

}  // namespace

ExitCode doctor(const Options& options) {
  using namespace QuorvelCoreSDK;
  // What the library would warn of is told by the checks.
  CoreLogger::setLevel(options.verbose ? LogLevel::debug : LogLevel::off);
  Examination examination{.options = options};
  Report report;
  for (const auto& check : checks) {
    auto& finding = report.checks.emplace_back(check.run(examination));
    finding.check = check.name;
    if (!options.json) writeLines(finding);
  }
  report.healthy = std::ranges::none_of(report.checks, &Finding::isProblem);
  if (options.json) fmt::print("{}\n", PellixPlatform::JSONEncoder().encode(report).value());
  return report.healthy ? ExitCode::answered : ExitCode::failed;
}

}  // namespace PellixApp
