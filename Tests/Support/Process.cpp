#include "Process.h"

#include "TemporaryDirectory.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace Support {
namespace {

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (auto& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// With an environment of just these variables.
pid_t startProcess(std::vector<std::string> arguments,
                   const std::map<std::string, std::string>& environment,
                   const posix_spawn_file_actions_t* actions) {
  std::vector<std::string> variables;
  for (const auto& [name, value] : environment) variables.push_back(name + "=" + value);
  if (const char* options = std::getenv("TSAN_OPTIONS")) {
    variables.push_back(std::string("TSAN_OPTIONS=") + options);
  }
  pid_t process = 0;
  const int failure = posix_spawnp(&process, arguments.front().c_str(), actions, nullptr,
                                   pointersTo(arguments).data(), pointersTo(variables).data());
  if (failure != 0) throw std::runtime_error("can't run " + arguments.front());
  return process;
}

}  // namespace

int waitForProcess(pid_t process) {
  int status = 0;
  ::waitpid(process, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

Outcome runProcess(std::vector<std::string> arguments,
                   const std::map<std::string, std::string>& environment,
                   const std::string& input) {
  const TemporaryDirectory directory;  // files, so that no program waits for another
  directory.write("0", input);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    const auto file = directory.path() / std::to_string(stream);
    posix_spawn_file_actions_addopen(&actions, stream, file.c_str(), O_RDWR | O_CREAT, 0600);
  }
  const auto process = startProcess(std::move(arguments), environment, &actions);
  posix_spawn_file_actions_destroy(&actions);
  const int exitCode = waitForProcess(process);
  return {.exitCode = exitCode, .output = directory.read("1"), .errors = directory.read("2")};
}

BackgroundProcess::BackgroundProcess(std::vector<std::string> arguments)
    : process_(startProcess(std::move(arguments), {}, nullptr)) {}

BackgroundProcess::~BackgroundProcess() {
  signal(SIGTERM);
  if (process_ > 0) waitForProcess(process_);
}

void BackgroundProcess::signal(int signal) const {
  if (process_ > 0) ::kill(process_, signal);
}

bool BackgroundProcess::isRunning() {
  if (process_ > 0 && ::waitpid(process_, nullptr, WNOHANG) != 0) process_ = -1;
  return process_ > 0;
}

std::set<pid_t> BackgroundProcess::children() const {
  const auto process = std::to_string(process_);
  std::ifstream numbers("/proc/" + process + "/task/" + process + "/children");
  return {std::istream_iterator<pid_t>(numbers), {}};
}

}  // namespace Support
