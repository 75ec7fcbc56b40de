// How long a program takes that only loads the library, and one that also asks a question:
// StartBenchmark PATH-OF-FirstRequest.

#include "Support/Rounds.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace {

void run(const char* program, const char* mode) {
  char* const arguments[] = {const_cast<char*>(program), const_cast<char*>(mode), nullptr};
  pid_t child = 0;
  int status = 1;
  if (posix_spawn(&child, program, nullptr, nullptr, arguments, environ) != 0) std::exit(1);
  waitpid(child, &status, 0);
  if (status != 0) std::exit(1);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  Benchmarks::Rounds rounds;
  rounds.add("load", [&] { run(argv[1], "load"); });
  rounds.add("first", [&] { run(argv[1], "first"); });
  rounds.run(std::chrono::milliseconds(2000));
  const double load = rounds.microseconds("load") / 1000;
  Benchmarks::report("start.ms_load", load);
  Benchmarks::report("start.ms_to_first_request", rounds.microseconds("first") / 1000 - load);
}
