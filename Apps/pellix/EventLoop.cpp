#include "EventLoop.h"

#include <PellixPlatform/DispatchQueue.h>

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

/// Returns when there is input or an interrupt. The signal is let in only while this waits, or one
/// that comes just before would be noticed only with the next line.
void waitForInput() {
  sigset_t interrupts;
  sigset_t before;
  sigemptyset(&interrupts);
  sigaddset(&interrupts, SIGINT);
  pthread_sigmask(SIG_BLOCK, &interrupts, &before);
  pollfd source{STDIN_FILENO, POLLIN, 0};
  if (!isInterrupted) ::ppoll(&source, 1, nullptr, &before);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
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
  PellixPlatform::DispatchQueue::main().setWakeHook([this] { wake(); });
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
    PellixPlatform::DispatchQueue::main().runPending();
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
    waitForInput();
    if (isInterrupted) throw Interrupted{};
    char c = 0;
    const auto count = ::read(STDIN_FILENO, &c, 1);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return line.empty() ? std::nullopt : std::optional(line);
    if (c == '\n') return line;
    line += c;
  }
}

}  // namespace PellixApp
