#pragma once

#include <PellixPlatform/Export.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

namespace PellixPlatform {

/// A queue of tasks that one thread runs in the order in which any thread posted them.
///
/// The process has one main queue. The library never runs it by itself: the host does, either with
/// `run` or `runFor` on a thread that has nothing else to do, or with `runPending` out of its own
/// event loop, which `setWakeHook` tells when there is something to run.
///
/// Thread safety: `post`, `stop` and `setWakeHook` may be called from any thread; `run`, `runFor`
/// and `runPending` from one thread at a time, and from within a task. A child that is forked from
/// a process that has run the queue must not run it itself: it could wait for ever.
///
/// Ownership: a task is destroyed right after it ran, before the next one starts. Tasks that never
/// run go with their queue; those of the main queue are not destroyed when the process ends.
///
/// Errors: an exception thrown by a task passes out of the call that runs it; that task is gone,
/// the tasks behind it stay, and the queue stays usable.
class PELLIX_EXPORT DispatchQueue {
 public:
  using Task = std::function<void()>;

  DispatchQueue();
  ~DispatchQueue();
  DispatchQueue(const DispatchQueue&) = delete;
  DispatchQueue& operator=(const DispatchQueue&) = delete;

  /// The process's main queue. It is never destroyed.
  [[nodiscard]] static DispatchQueue& main();

  /// Adds `task` (not empty) behind those that wait.
  void post(Task task);

  /// Runs tasks as they come until `stop` is called. If any are left then, the wake hook is called.
  void run();

  /// Runs tasks as they come until `limit` has passed, a year at most, or `stop` is called, and
  /// says how many it ran. If tasks wait already, the first one runs whatever the limit.
  std::size_t runFor(std::chrono::milliseconds limit);

  /// Runs the tasks that wait now, not those that they post, and says how many it ran. If any are
  /// left at the end, the wake hook is called again.
  std::size_t runPending();

  /// Makes `run` return after the task that it is running, or, if nothing runs the queue, makes the
  /// next `run` return at once. Tasks that wait stay.
  void stop();

  /// For what is about to wait on this thread for a task of the queue: stops the process with a
  /// report if this is the thread that runs the queue, or the last that did, since the task would
  /// then never run.
  void assertNotOnQueue() const;

  /// `hook` is called when a task is posted to an empty queue, by the thread that posts it and
  /// outside any lock, and at once if tasks wait already. It should only wake the host's loop and
  /// must not throw. An empty function removes it; a call of the earlier hook may still be under
  /// way then.
  void setWakeHook(std::function<void()> hook);

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

}  // namespace PellixPlatform
