#include "Process.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace Support {
namespace {

/// A file in memory, so that no program waits for another to read or write.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view content = {}) {
    if (descriptor < 0 || ::pwrite(descriptor, content.data(), content.size(), 0) < 0) {
      throw std::runtime_error("no memory for a program's input and output");
    }
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { ::close(descriptor); }

  [[nodiscard]] std::string content() const {
    std::string text(static_cast<std::size_t>(::lseek(descriptor, 0, SEEK_END)), '\0');
    text.resize(static_cast<std::size_t>(::pread(descriptor, text.data(), text.size(), 0)));
    return text;
  }

  const int descriptor = ::memfd_create("program", MFD_CLOEXEC);
};

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (auto& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

pid_t startProcess(std::vector<std::string> arguments,
                   const std::map<std::string, std::string>& environment,
                   const posix_spawn_file_actions_t* actions, const posix_spawnattr_t* attributes) {
  std::vector<std::string> variables;
  for (const auto& [name, value] : environment) variables.push_back(name + "=" + value);
  if (const char* options = std::getenv("TSAN_OPTIONS")) {
    variables.push_back(std::string("TSAN_OPTIONS=") + options);
  }
  pid_t process = 0;
  const int failure = posix_spawnp(&process, arguments.front().c_str(), actions, attributes,
                                   pointersTo(arguments).data(), pointersTo(variables).data());
  if (failure != 0) throw std::runtime_error("can't run " + arguments.front());
  return process;
}

int waitForProcess(pid_t process) {
  int status = 0;
  ::waitpid(process, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

Outcome runProcess(std::vector<std::string> arguments,
                   const std::map<std::string, std::string>& environment,
                   const std::string& input) {
  const MemoryFile in(input);
  const MemoryFile out;
  const MemoryFile err;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in.descriptor, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, out.descriptor, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err.descriptor, STDERR_FILENO);
  const auto process = startProcess(std::move(arguments), environment, &actions);
  posix_spawn_file_actions_destroy(&actions);
  const int exitCode = waitForProcess(process);
  return {.exitCode = exitCode, .output = out.content(), .errors = err.content()};
}

BackgroundProcess::BackgroundProcess(std::vector<std::string> arguments)
    : process_(startProcess(std::move(arguments))) {}

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
