#include "PseudoTerminal.h"

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace Support {

PseudoTerminal::PseudoTerminal(std::vector<std::string> arguments,
                               const std::map<std::string, std::string>& environment,
                               unsigned short columns) {
  std::vector<std::string> variables;
  for (const auto& [name, value] : environment) variables.push_back(name + "=" + value);
  const auto pointers = [](std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (auto& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
  };
  const auto argv = pointers(arguments);
  const auto envp = pointers(variables);
  const winsize size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
  child_ = ::forkpty(&terminal_, nullptr, nullptr, &size);
  if (child_ < 0) throw std::runtime_error("no terminal");
  if (child_ == 0) {
    ::execve(argv[0], argv.data(), envp.data());
    ::_exit(127);
  }
}

PseudoTerminal::~PseudoTerminal() {
  ::close(terminal_);
  if (child_ > 0) {
    ::kill(child_, SIGKILL);
    ::waitpid(child_, nullptr, 0);
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
  int status = 0;
  ::waitpid(child_, &status, 0);
  child_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
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
