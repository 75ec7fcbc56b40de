// What it costs to load the library, and to send a first question on its way. The program runs
// itself in three ways: StartBenchmark load ends at once, StartBenchmark init when the library is
// set up, StartBenchmark first when the question is on its way.

#include "Support/Host.h"
#include "Support/Rounds.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace {

void run(const char* mode) {
  const char* const program = "/proc/self/exe";
  char* const arguments[] = {const_cast<char*>(program), const_cast<char*>(mode), nullptr};
  pid_t child = 0;
  int status = 1;
  if (posix_spawn(&child, program, nullptr, nullptr, arguments, environ) != 0) std::exit(1);
  waitpid(child, &status, 0);
  if (status != 0) std::exit(1);
}

void initialize() {
  static_cast<void>(Benchmarks::OfflineHost(""));
}

bool sendFirstQuestion() {
  const Benchmarks::OfflineHost host("");
  host.transport->stopAnswering();
  host.ask([](const Benchmarks::Reply&) {});
  return host.transport->questions() == 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) {
    const std::string_view mode(argv[1]);
    if (mode == "init") initialize();
    return mode != "first" || sendFirstQuestion() ? 0 : 1;
  }
  const double loaded = Benchmarks::processStatus("VmRSS:");
  sendFirstQuestion();
  Benchmarks::report("start.rss_kb_loaded", loaded);
  Benchmarks::report("start.rss_kb_added", Benchmarks::processStatus("VmRSS:") - loaded);

  Benchmarks::Rounds rounds;
  rounds.add("load", [] { run("load"); });
  rounds.add("init", [] { run("init"); });
  rounds.add("first", [] { run("first"); });
  rounds.run(std::chrono::milliseconds(2000));
  const double load = rounds.microseconds("load") / 1000;
  Benchmarks::report("start.ms_load", load);
  Benchmarks::report("start.ms_to_initialized", rounds.microseconds("init") / 1000 - load);
  Benchmarks::report("start.ms_to_first_request", rounds.microseconds("first") / 1000 - load);
}
