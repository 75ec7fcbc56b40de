#include "PseudoTerminal.h"

#include "Process.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <utility>

namespace Support {

PseudoTerminal::PseudoTerminal(std::vector<std::string> arguments,
                               const std::map<std::string, std::string>& environment,
                               unsigned short columns) {
  int program = -1;
  const winsize size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
  char name[64];
  if (::openpty(&terminal_, &program, name, nullptr, &size) != 0) {
    throw std::runtime_error("no terminal");
  }
  ::fcntl(terminal_, F_SETFD, FD_CLOEXEC);
  ::fcntl(program, F_SETFD, FD_CLOEXEC);
  // The first terminal that a new session opens is its own.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, name, O_RDWR, 0);
  posix_spawn_file_actions_adddup2(&actions, STDIN_FILENO, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, STDIN_FILENO, STDERR_FILENO);
  child_ = startProcess(std::move(arguments), environment, &actions, &attributes);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  ::close(program);
}

PseudoTerminal::~PseudoTerminal() {
  ::close(terminal_);
  if (child_ > 0) {
    ::kill(child_, SIGKILL);
    waitForProcess(child_);
  }
}

std::string PseudoTerminal::readUntil(const std::string& text) {
  while (screen_.find(text, seen_) == screen_.npos) {
    if (!readSome()) throw std::runtime_error("'" + text + "' did not come: " + screen_);
  }
  const auto end = screen_.find(text, seen_) + text.size();
  const auto shown = screen_.substr(seen_, end - seen_);
  seen_ = end;
  return shown;
}

void PseudoTerminal::type(const std::string& keys) {
  if (::write(terminal_, keys.data(), keys.size()) < 0) throw std::runtime_error("can't type");
}

int PseudoTerminal::wait() {
  while (readSome()) {
  }
  return waitForProcess(std::exchange(child_, -1));
}

bool PseudoTerminal::readSome() {
  constexpr int limit = 60'000;  // milliseconds, so that a failure ends
  pollfd source{terminal_, POLLIN, 0};
  if (::poll(&source, 1, limit) <= 0) return false;
  char piece[4096];
  const auto count = ::read(terminal_, piece, sizeof piece);
  if (count > 0) screen_.append(piece, static_cast<std::size_t>(count));
  return count > 0;
}

}  // namespace Support
