#include "Commands.h"
#include "Doctor/Checks.h"
#include "Doctor/ReportFile.h"
#include "Host.h"
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
    {"library-copies", checkLibraryCopies},
    {"dependencies", checkDependencies},
    {"proxy", checkProxy},
    {"account-address", checkAccountAddress},
    {"name-resolution", checkNameResolution},
    {"connection", checkConnection},
    {"ipv4", checkIPv4},
    {"ipv6", checkIPv6},
    {"tls", checkTLS},
    {"certificates", checkCertificates},
    {"token", checkToken},
    {"query", checkQuery},
    {"settings", checkSettings},
    {"protocol", checkProtocol},
    {"clock", checkClock},
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

std::string linesFor(const Finding& finding, const Terminal& terminal) {
  const auto label = fmt::format("{:9}{:18}", finding.status, finding.check);
  auto lines = terminal.fitBehind(label, finding.found);
  if (finding.isProblem()) {
    if (lines.starts_with(finding.status)) {
      lines.replace(0, finding.status.size(), terminal.bold(finding.status));
    }
    lines += terminal.fitBehind(fmt::format("{:9}{:18}", "", "  remedy"), *finding.remedy);
  }
  return lines;
}

}  // namespace

ExitCode doctor(Options options) {
  options.timings = true;
  using namespace QuorvelCoreSDK;
  // What the library would warn of is told by the checks.
  CoreLogger::setLevel(options.verbose ? LogLevel::debug : LogLevel::off);
  Examination examination{.options = options};
  Report report;
  std::string lines;
  std::optional<ReportFile> file;
  if (!options.report.empty()) file.emplace(options.report);
  for (const auto& check : checks) {
    auto& finding = report.checks.emplace_back(check.run(examination));
    finding.check = check.name;
    if (!options.json) fmt::print("{}", linesFor(finding, Terminal::of(stdout)));
    lines += linesFor(finding, Terminal());
  }
  report.healthy = std::ranges::none_of(report.checks, &Finding::isProblem);
  if (options.json) fmt::print("{}\n", PellixPlatform::JSONEncoder().encode(report).value());
  if (timings()) lines += "\n" + timings()->table();
  if (file) file->write(lines, examination);
  return report.healthy ? ExitCode::answered : ExitCode::failed;
}

}  // namespace PellixApp
