#include "AnswerService.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <pthread.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

struct CommandLine {
  int port = 0;
  bool quiet = false;
  std::string certificateFile;
  std::vector<std::string> misbehaviours;
  AnswerService::Options options;
};

void describe(CLI::App& app, CommandLine& line) {
  app.add_option("--port", line.port, "Port of 127.0.0.1 to listen on; 0 takes a free one")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  app.add_option("--token", line.options.token, "Bearer token that clients must send")
      ->capture_default_str();
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
  app.add_flag("--quiet", line.quiet, "Do not log requests to standard error");
}

void misbehave(AnswerService::Service& service, const std::vector<std::string>& misbehaviours) {
  for (const std::string& argument : misbehaviours) {
    const auto equals = argument.find('=');
    if (equals == std::string::npos) {
      throw std::invalid_argument(
          fmt::format("\"{}\" is not of the form ENDPOINT=WHAT.", argument));
    }
    service.setMisbehaviour(std::string_view(argument).substr(0, equals),
                            std::string_view(argument).substr(equals + 1));
  }
}

void writeCertificate(const AnswerService::Service& service, const std::string& file) {
  if (file.empty()) return;
  std::ofstream out(file, std::ios::binary);
  out << service.certificatePem();
  if (!out.flush()) throw std::runtime_error(fmt::format("The file {} cannot be written.", file));
}

void run(CommandLine& line, const sigset_t& ending) {
  if (!line.quiet) {
    line.options.log = [](std::string_view text) { fmt::print(stderr, "{}\n", text); };
  }
  AnswerService::Service service(line.options);
  misbehave(service, line.misbehaviours);
  writeCertificate(service, line.certificateFile);
  service.start(line.port);
  fmt::print("AnswerService listening on {}\n", service.baseUrl());
  std::fflush(stdout);
  int received = 0;
  sigwait(&ending, &received);
  service.stop();
}

/// Blocked before there are other threads, which inherit it: the signals then only end the wait
/// in run(), and nothing has to happen inside a handler.
sigset_t blockEndingSignals() {
  sigset_t ending;
  sigemptyset(&ending);
  sigaddset(&ending, SIGINT);
  sigaddset(&ending, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &ending, nullptr);
  return ending;
}

}  // namespace

int main(int argc, char** argv) {
  const sigset_t ending = blockEndingSignals();
  CommandLine line;
  CLI::App app("Serves an account's answer service on loopback, for demonstrations and tests.",
               "answer-service");
  describe(app, line);
  try {
    app.parse(argc, argv);
    run(line, ending);
    return 0;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kUsage;
  } catch (const std::invalid_argument& error) {
    fmt::print(stderr, "answer-service: {}\n", error.what());
    return kUsage;
  } catch (const std::exception& error) {
    fmt::print(stderr, "answer-service: {}\n", error.what());
    return kFailed;
  }
}
