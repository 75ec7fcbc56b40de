#include "Process.h"

#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace Support {
namespace {

struct Pipe {
  std::array<int, 2> ends{-1, -1};
  Pipe() {
    if (::pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe() {
    closeEnd(0);
    closeEnd(1);
  }
  void closeEnd(std::size_t which) {
    if (ends[which] >= 0) ::close(ends[which]);
    ends[which] = -1;
  }
};

/// Appends what can be read; false at the end.
bool readSome(int from, std::string& to) {
  char piece[4096];
  const auto count = ::read(from, piece, sizeof piece);
  if (count > 0) to.append(piece, static_cast<std::size_t>(count));
  return count > 0;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (auto& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

pid_t spawn(std::vector<std::string> arguments,
            const std::map<std::string, std::string>& environment,
            const posix_spawn_file_actions_t* actions) {
  std::vector<std::string> variables;
  for (const auto& [name, value] : environment) variables.push_back(name + "=" + value);
  pid_t child = 0;
  const int failure = posix_spawn(&child, arguments.front().c_str(), actions, nullptr,
                                  pointersTo(arguments).data(), pointersTo(variables).data());
  if (failure != 0) throw std::runtime_error("can't run " + arguments.front());
  return child;
}

}  // namespace

Outcome runProcess(std::vector<std::string> arguments,
                   const std::map<std::string, std::string>& environment,
                   const std::string& input) {
  std::signal(SIGPIPE, SIG_IGN);  // a program may end without reading all of its input
  Pipe in;
  Pipe out;
  Pipe err;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in.ends[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, out.ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err.ends[1], STDERR_FILENO);
  for (const auto* pipe : {&in, &out, &err}) {
    for (const int end : pipe->ends) posix_spawn_file_actions_addclose(&actions, end);
  }
  const auto child = spawn(std::move(arguments), environment, &actions);
  posix_spawn_file_actions_destroy(&actions);
  in.closeEnd(0);
  out.closeEnd(1);
  err.closeEnd(1);

  // Inputs are small: they fit into the pipe.
  if (::write(in.ends[1], input.data(), input.size()) < 0) in.closeEnd(1);
  in.closeEnd(1);

  Outcome outcome;
  std::array<pollfd, 2> sources{pollfd{out.ends[0], POLLIN, 0}, pollfd{err.ends[0], POLLIN, 0}};
  const std::array<std::string*, 2> texts{&outcome.output, &outcome.errors};
  while (sources[0].fd >= 0 || sources[1].fd >= 0) {
    ::poll(sources.data(), sources.size(), -1);
    for (std::size_t which = 0; which < sources.size(); ++which) {
      auto& source = sources[which];
      if (source.revents != 0 && !readSome(source.fd, *texts[which])) source.fd = -1;
    }
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  return outcome;
}

BackgroundProcess::BackgroundProcess(std::vector<std::string> arguments)
    : process_(spawn(std::move(arguments), {}, nullptr)) {}

BackgroundProcess::~BackgroundProcess() {
  signal(SIGTERM);
  if (process_ > 0) ::waitpid(process_, nullptr, 0);
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
