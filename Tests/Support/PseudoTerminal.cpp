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

PseudoTerminal::PseudoTerminal(const std::vector<std::string>& arguments,
                               const std::map<std::string, std::string>& environment,
                               unsigned short columns) {
  const winsize size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
  std::vector<std::string> command{"/usr/bin/env", "-i"};
  for (const auto& [name, value] : environment) command.push_back(name + "=" + value);
  command.insert(command.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (auto& word : command) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  child_ = ::forkpty(&terminal_, nullptr, nullptr, &size);
  if (child_ == 0) {
    ::execv(pointers[0], pointers.data());
    ::_exit(127);
  }
  if (child_ < 0) throw std::runtime_error("no terminal");
  ::fcntl(terminal_, F_SETFD, FD_CLOEXEC);
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
