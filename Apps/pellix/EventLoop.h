#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <string>

namespace PellixApp {

/// Thrown when the person has pressed Ctrl-C.
struct Interrupted {};

/// The program's own loop: it runs the library's main queue whenever the queue says that there is
/// something to run, and listens to the person meanwhile.
class EventLoop {
 public:
  /// Never destroyed, since the library's worker may wake it while the process ends.
  [[nodiscard]] static EventLoop& shared();

  /// Runs until `stop` is called. If that takes more than a moment, calls `afterAMoment` once.
  /// Throws `Interrupted`.
  void run(const std::function<void()>& afterAMoment);

  /// Ends `run`, or the next one. Any thread.
  void stop();

  /// A line that the person types, or nothing at the end of the input. Throws `Interrupted`.
  [[nodiscard]] std::optional<std::string> readLine() const;

 private:
  EventLoop();

  void wake() const;

  int reading_ = -1;
  int writing_ = -1;
  std::atomic<bool> isStopped_ = false;
};

}  // namespace PellixApp
