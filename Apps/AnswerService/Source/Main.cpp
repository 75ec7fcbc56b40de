#include "AnswerService.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <pthread.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

struct CommandLine {
  int port = 0;
  bool isQuiet = false;
  std::string certificateFile;
  std::vector<std::string> misbehaviours;
  AnswerService::Options options;
};

void describe(CLI::App& app, CommandLine& line) {
  app.add_option("--port", line.port, "Port of 127.0.0.1 to listen on; 0 takes a free one")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  app.add_option("--token", line.options.token,
                 "Bearer token that clients must send, for others on this machine to see; without "
                 "it, one is made at random and printed");
  app.add_option("--default-locale", line.options.defaultLocale, "Locale for all that name none")
      ->capture_default_str();
  app.add_option("--database", line.options.databaseFile, "Database file; in memory without it");
  CLI::Option* const tls = app.add_flag("--tls", line.options.tls, "Serve https");
  app.add_option("--certificate-file", line.certificateFile,
                 "Where to write the certificate (PEM) for clients to trust")
      ->needs(tls);
  app.add_option("--misbehave", line.misbehaviours,
                 "ENDPOINT=WHAT, repeatable; WHAT is one of disabled, status:N, delay:MS, "
                 "truncated, malformed, none, body:TEXT")
      ->take_all()
      ->allow_extra_args(false);
  app.add_flag("--quiet", line.isQuiet, "Do not log requests to standard error");
}

/// Does not throw where that can't be written: a full disk must not end the service.
void tell(std::string_view line) {
  std::fputs(fmt::format("{}\n", line).c_str(), stderr);
}

void run(CommandLine& line, const sigset_t& ending) {
  if (!line.isQuiet) line.options.log = tell;
  AnswerService::Service service(line.options);
  for (const std::string_view argument : line.misbehaviours) {
    const auto endpoint = argument.substr(0, argument.find('='));
    const auto what = argument.substr(std::min(endpoint.size() + 1, argument.size()));
    service.setMisbehaviour(endpoint, what);
  }
  if (!line.certificateFile.empty()) {
    std::ofstream file(line.certificateFile, std::ios::binary);
    if (!(file << service.certificatePem()).flush()) {
      throw std::runtime_error(fmt::format("{} cannot be written.", line.certificateFile));
    }
  }
  service.start(line.port);
  fmt::print("AnswerService listening on {}\n", service.baseUrl());
  if (line.options.token.empty()) fmt::print("The bearer token is {}\n", service.token());
  std::fflush(stdout);
  int received = 0;
  sigwait(&ending, &received);
}

}  // namespace

int main(int argc, char** argv) {
  // Blocked before there are other threads, which inherit it: the signals then only end the wait in
  // run(), and nothing has to happen inside a handler.
  sigset_t ending;
  sigemptyset(&ending);
  for (const int signal : {SIGINT, SIGTERM}) sigaddset(&ending, signal);
  pthread_sigmask(SIG_BLOCK, &ending, nullptr);
  CommandLine line;
  CLI::App app("Serves an account's answer service on loopback, for demonstrations and tests.",
               "answer-service");
  describe(app, line);
  try {
    app.parse(argc, argv);
    run(line, ending);
    return 0;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  } catch (const std::exception& error) {
    tell(fmt::format("answer-service: {}", error.what()));
    return dynamic_cast<const std::invalid_argument*>(&error) ? 2 : 1;
  }
}
