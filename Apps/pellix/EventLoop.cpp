#include "EventLoop.h"

#include <Platform/DispatchQueue.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace PellixApp {
namespace {

constexpr int aMoment = 400;  // milliseconds

volatile std::sig_atomic_t isInterrupted = 0;
int pipeForInterrupts = -1;

void interrupt(int) {
  isInterrupted = 1;
  const int before = errno;
  const char byte = 0;
  static_cast<void>(!::write(pipeForInterrupts, &byte, 1));
  errno = before;
}

}  // namespace

EventLoop& EventLoop::shared() {
  static auto& loop = *new EventLoop;
  return loop;
}

EventLoop::EventLoop() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category());
  }
  reading_ = ends[0];
  writing_ = pipeForInterrupts = ends[1];

  // Without SA_RESTART, so that Ctrl-C also ends the wait for a line.
  struct sigaction action = {};
  action.sa_handler = interrupt;
  ::sigaction(SIGINT, &action, nullptr);
  Platform::DispatchQueue::main().setWakeHook([this] { wake(); });
}

void EventLoop::run(const std::function<void()>& afterAMoment) {
  for (int patience = aMoment;;) {
    pollfd source{reading_, POLLIN, 0};
    const int ready = ::poll(&source, 1, patience);
    if (isInterrupted) throw Interrupted{};
    if (ready == 0) {
      afterAMoment();
      patience = -1;
      continue;
    }
    std::array<char, 64> wakes{};
    static_cast<void>(!::read(reading_, wakes.data(), wakes.size()));
    Platform::DispatchQueue::main().runPending();
    if (isStopped_.exchange(false)) return;
  }
}

void EventLoop::stop() {
  isStopped_ = true;
  wake();
}

// A full pipe is no loss: whoever reads it wakes anyway.
void EventLoop::wake() const {
  const char byte = 0;
  static_cast<void>(!::write(writing_, &byte, 1));
}

std::optional<std::string> EventLoop::readLine() const {
  std::string line;
  while (true) {
    char c = 0;
    const auto count = ::read(STDIN_FILENO, &c, 1);
    if (isInterrupted) throw Interrupted{};
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return line.empty() ? std::nullopt : std::optional(line);
    if (c == '\n') return line;
    line += c;
  }
}

}  // namespace PellixApp
