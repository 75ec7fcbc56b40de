#include "Options.h"

#include "Failure.h"
#include "Nearest.h"

#include <PellixPlatform/internal/File.h>

#include <CLI/CLI.hpp>
#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <vector>

namespace PellixApp {
namespace {

constexpr const char* footer = R"(
The bearer token is read from the environment variable PELLIX_TOKEN, or from the file that
--token-file names; it is never taken from the command line, where others could see it.

Exit codes:
  0  answered
  1  the operation failed, or its result could not be written, and the error is on standard error;
     or doctor found a problem
  2  the command line is wrong
  3  the feature is disabled for the account, or its settings can't be had
  4  the operation ended without an answer
Ctrl-C ends it at any point, by its signal.

Example:
  export PELLIX_ACCOUNT_URL=https://example.com PELLIX_TOKEN=...
  pellix doctor --report report.txt
  pellix ask "How do I change my password?"
  pellix ask --json "How do I change my password?" > answer.json
  pellix resolve --interaction answer.json --article 1
  pellix reject --interaction answer.json --article 2 --reason 0
)";

std::string withoutLineEnd(std::string text) {
  text.erase(text.find_last_not_of(" \t\r\n") + 1);
  return text;
}

std::vector<std::string> optionsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const auto* option : app.get_options()) names.push_back(option->get_name());
  // A group of options is a command without a name.
  for (const auto* each :
       app.get_subcommands([](const auto* c) { return c->get_name().empty(); })) {
    std::ranges::copy(optionsOf(*each), std::back_inserter(names));
  }
  return names;
}

/// Of what is wrong, names first what nobody takes, for the rest may come from that.
std::string faultOf(const CLI::App& app, const CLI::ParseError& error) {
  const auto strays = app.remaining(true);
  if (strays.empty()) return error.what();
  const auto stray = strays.front().substr(0, strays.front().find('='));
  const auto given = app.get_subcommands();
  std::vector<std::string> known;
  if (stray.starts_with('-')) {
    known = optionsOf(app);
    for (const auto* each : given) std::ranges::copy(optionsOf(*each), std::back_inserter(known));
  } else if (given.empty()) {
    for (const auto* each : app.get_subcommands({})) known.push_back(each->get_name());
  }
  const auto meant = nearest(stray, known);
  if (meant == stray) return fmt::format("'{}' goes behind the command.", stray);
  return fmt::format("'{}' is not known here.{}", stray,
                     meant.empty() ? "" : fmt::format(" Do you mean '{}'?", meant));
}

/// Adds what the two commands that report on an interaction have in common.
CLI::App* addReport(CLI::App& app, const char* name, const char* description, Options& options) {
  auto* const command = app.add_subcommand(name, description);
  command
      ->add_option("--interaction", options.interactionFile,
                   "What 'pellix ask --json' wrote: a file, or - for standard input")
      ->required();
  auto* const article = command->add_option_group("article");
  article->add_option("--article", options.articleRank, "The article's rank in it, from 1");
  article->add_option("--article-id", options.articleId, "The article's article_id in it");
  article->require_option(1);
  return command;
}

}  // namespace

ExitCode refuse(std::string_view sentence) {
  complain(sentence, "Try 'pellix --help'.");
  return ExitCode::usage;
}

std::expected<Options, ExitCode> readOptions(int argc, char** argv) {
  Options options;
  std::string locale;
  std::string tokenFile;
  std::vector<std::string> words;

  CLI::App app("Asks an account's answer service for articles that may answer a question.",
               "pellix");
  app.footer(footer);
  app.require_subcommand(1);
  app.fallthrough();
  app.set_version_flag("--version", "pellix " PELLIX_VERSION);
  app.add_option("--account-url", options.accountUrl,
                 "The account's address, such as https://example.com")
      ->envname("PELLIX_ACCOUNT_URL");
  app.add_option("--application-id", options.applicationId, "The application's identifier")
      ->envname("PELLIX_APPLICATION_ID")
      ->capture_default_str();
  app.add_option("--client-id", options.clientId, "The client's identifier")
      ->envname("PELLIX_CLIENT_ID")
      ->capture_default_str();
  auto* const localeOption =
      app.add_option("--locale", locale,
                     "The locale to search in, such as en-us; without it, the knowledge base's own")
          ->envname("PELLIX_LOCALE");
  app.add_option("--token-file", tokenFile, "A file that holds the bearer token");
  app.add_option("--certificate-authorities", options.certificateAuthorities,
                 "A file of trusted certificates (PEM), in place of the system's");
  app.add_option("--resources", options.resources,
                 "A directory of resources, in place of those that the library carries")
      ->check(CLI::ExistingDirectory);
  double timeout = 0;
  auto* const timeoutOption =
      app.add_option("--timeout", timeout,
                     "How many seconds each request may take; 30, or 8 for doctor")
          ->check(CLI::Range(0.001, 86'400.0));
  app.add_flag("--verbose", options.verbose, "Show the library's log on standard error");

  auto* const ask = app.add_subcommand("ask", "List articles that may answer a question");
  ask->add_option("QUESTION", words, "The question; its words may be given one by one")->required();
  ask->add_flag("--json", options.json, "Write the answer service's reply as JSON instead");
  ask->add_flag("--timings", options.timings, "Write what each request took to standard error");
  auto* const doctor =
      app.add_subcommand("doctor", "Check all that a question takes, and say what to do");
  doctor->add_flag("--json", options.json, "Write what was found as JSON instead");
  doctor->add_option("--report", options.report,
                     "A file to write what was found into, too, for a ticket: without secrets");
  auto* const settings =
      app.add_subcommand("settings", "Say whether the feature is enabled for the account");
  auto* const resolve =
      addReport(app, "resolve", "Report that an article resolved the question", options);
  auto* const reject =
      addReport(app, "reject", "Report that an article did not resolve the question", options);
  std::int64_t reason = 0;
  reject->add_option("--reason", reason, "Why: 0, 1 or 2")->required();

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& end) {
    if (end.get_exit_code() != 0) return std::unexpected(refuse(faultOf(app, end)));
    // By way of the same stream as every result, so that a failure to write it is noticed.
    std::ostringstream text;
    app.exit(end, text, text);
    fmt::print("{}", text.str());
    return std::unexpected(ExitCode::answered);
  }

  options.command = settings->parsed()  ? Command::settings
                    : resolve->parsed() ? Command::resolve
                    : reject->parsed()  ? Command::reject
                    : doctor->parsed()  ? Command::doctor
                                        : Command::ask;
  // No range refuses it: it is neither less nor more than anything.
  if (std::isnan(timeout)) return std::unexpected(refuse("--timeout takes a number of seconds."));
  if (timeoutOption->empty()) timeout = options.command == Command::doctor ? 8 : 30;
  options.timeout =
      std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(timeout));
  if (const auto known = PellixProvidersSDK::makeRejectionReason(reason)) {
    options.reason = *known;
  } else {
    return std::unexpected(refuse("The reason is 0, 1 or 2."));
  }
  if (options.accountUrl.empty() && options.command != Command::doctor) {
    return std::unexpected(
        refuse("The account's address is missing: set PELLIX_ACCOUNT_URL or give --account-url."));
  }
  if (localeOption->count() > 0 || std::getenv("PELLIX_LOCALE")) options.locale = locale;
  options.question = CLI::detail::join(words, " ");

  if (!tokenFile.empty()) {
    auto token = PellixPlatform::readFile(tokenFile);
    if (!token) return std::unexpected(refuse(token.error().localizedDescription()));
    options.token = withoutLineEnd(*std::move(token));
  } else if (const char* token = std::getenv("PELLIX_TOKEN")) {
    options.token = token;
  }
  return options;
}

}  // namespace PellixApp
