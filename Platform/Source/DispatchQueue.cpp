#include <PellixPlatform/DispatchQueue.h>
#include <PellixPlatform/internal/FatalError.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <utility>

namespace PellixPlatform {

using Hook = std::shared_ptr<const std::function<void()>>;

struct DispatchQueue::State {
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<Task> tasks;
  bool stopped = false;
  Hook hook;
  std::uint64_t runner = 0;  // the latest
};

namespace {

/// The calling thread's own number. The system gives the name of one that has ended to another.
std::uint64_t threadNumber() {
  static constinit std::atomic<std::uint64_t> latest = 0;
  thread_local const std::uint64_t number = ++latest;
  return number;
}

/// Notes who runs the queue, and calls its hook on leaving the scope, by return or by exception, if
/// tasks are left behind.
template <class State>
class Running {
 public:
  explicit Running(State& state) : state_(state) {
    const std::lock_guard lock(state.mutex);
    state.runner = threadNumber();
  }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;
  ~Running() {
    Hook hook;
    {
      const std::lock_guard lock(state_.mutex);
      if (!state_.tasks.empty()) hook = state_.hook;
    }
    if (hook) (*hook)();
  }

 private:
  State& state_;
};

}  // namespace

DispatchQueue::DispatchQueue() : state_(std::make_unique<State>()) {}
DispatchQueue::~DispatchQueue() = default;

DispatchQueue& DispatchQueue::main() {
  static auto& queue = *new DispatchQueue;  // leaked: other threads may post while the process ends
  return queue;
}

void DispatchQueue::post(Task task) {
  Hook hook;
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->tasks.empty()) hook = state_->hook;
    state_->tasks.push_back(std::move(task));
  }
  state_->changed.notify_one();
  if (hook) (*hook)();
}

void DispatchQueue::run() {
  const Running running(*state_);
  while (true) {
    Task task;
    {
      std::unique_lock lock(state_->mutex);
      state_->changed.wait(lock, [&] { return state_->stopped || !state_->tasks.empty(); });
      if (std::exchange(state_->stopped, false)) return;
      task = std::move(state_->tasks.front());
      state_->tasks.pop_front();
    }
    task();
  }
}

std::size_t DispatchQueue::runFor(std::chrono::milliseconds limit) {
  using std::chrono::steady_clock;
  constexpr std::chrono::milliseconds longest = std::chrono::years(1);
  const auto end =
      steady_clock::now() + std::clamp(limit, std::chrono::milliseconds::zero(), longest);
  const Running running(*state_);
  std::size_t count = 0;
  do {
    Task task;
    {
      std::unique_lock lock(state_->mutex);
      const auto isDue = [&] { return state_->stopped || !state_->tasks.empty(); };
      if (!state_->changed.wait_until(lock, end, isDue)) return count;
      if (std::exchange(state_->stopped, false)) return count;
      task = std::move(state_->tasks.front());
      state_->tasks.pop_front();
    }
    task();
    ++count;
  } while (steady_clock::now() < end);
  return count;
}

std::size_t DispatchQueue::runPending() {
  const Running running(*state_);
  const auto pending = [this] {
    const std::lock_guard lock(state_->mutex);
    return state_->tasks.size();
  }();
  for (std::size_t count = 0; count < pending; ++count) {
    Task task;
    {
      const std::lock_guard lock(state_->mutex);
      if (state_->tasks.empty()) return count;  // a task ran the queue itself
      task = std::move(state_->tasks.front());
      state_->tasks.pop_front();
    }
    task();
  }
  return pending;
}

void DispatchQueue::stop() {
  {
    const std::lock_guard lock(state_->mutex);
    state_->stopped = true;
  }
  state_->changed.notify_all();
}

void DispatchQueue::assertNotOnQueue() const {
  const auto runner = [this] {
    const std::lock_guard lock(state_->mutex);
    return state_->runner;
  }();
  if (runner != threadNumber()) return;
  fatalError("This thread runs the queue, so it can't wait for a task of it.");
}

void DispatchQueue::setWakeHook(std::function<void()> hook) {
  const Hook added =
      hook ? std::make_shared<const std::function<void()>>(std::move(hook)) : nullptr;
  Hook removed = added;  // let go of outside the lock
  {
    const std::lock_guard lock(state_->mutex);
    std::swap(state_->hook, removed);
    if (state_->tasks.empty()) return;
  }
  if (added) (*added)();
}

}  // namespace PellixPlatform
