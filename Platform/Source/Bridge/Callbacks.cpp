#include <PellixPlatform/DispatchQueue.h>
#include <PellixPlatform/internal/Bridge/Callbacks.h>
#include <PellixPlatform/internal/Bridge/Objects.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <list>
#include <mutex>
#include <new>
#include <thread>

namespace PellixPlatform::Bridge {
namespace {

/// Where the host is called. It can't choose any more once it has given a callback.
enum class Where : std::uint8_t { anywhereSoFar, anywhere, onMainQueue };
constinit std::atomic<Where> where = Where::anywhereSoFar;

constinit thread_local bool isHere = false;

/// What waits for the main queue: to be called, and then to be let go of.
using Calls = std::list<std::function<void()>>;

struct State {
  std::mutex mutex;
  std::condition_variable changed;
  Calls waiting;
  int running = 0;
  std::thread::id thread;  // that runs them
};

/// Takes no memory, so that nothing fails for want of it.
State& state() {
  alignas(State) static std::byte place[sizeof(State)];
  static auto& state = *new (place) State;  // for good: calls may come while the process ends
  return state;
}

/// Runs what waits now; more than one call if there was no memory to post an earlier one's run.
void runWaiting() {
  auto& state = Bridge::state();
  const CallsHere here;
  std::unique_lock lock(state.mutex);
  for (auto count = state.waiting.size(); count > 0 && !state.waiting.empty(); --count) {
    Calls next;
    next.splice(next.begin(), state.waiting, state.waiting.begin());
    ++state.running;
    state.thread = std::this_thread::get_id();
    lock.unlock();
    withMemory([&] { next.front()(); });
    next.clear();
    lock.lock();
    --state.running;
    state.changed.notify_all();
  }
}

void wait(Calls calls) noexcept {
  auto& state = Bridge::state();
  {
    const std::lock_guard lock(state.mutex);
    state.waiting.splice(state.waiting.end(), calls);
  }
  withMemory([] { DispatchQueue::main().post(runWaiting); });
}

/// Lets go of a context on the main queue. What waits there for that is made in advance, since
/// nothing must keep a context from its release.
class ReleasedOnMainQueue {
 public:
  explicit ReleasedOnMainQueue(Context context) {
    release_.emplace_back([context = std::move(context)] {});
  }
  ReleasedOnMainQueue(const ReleasedOnMainQueue&) = delete;
  ReleasedOnMainQueue& operator=(const ReleasedOnMainQueue&) = delete;
  ~ReleasedOnMainQueue() {
    if (!isCalledHere()) wait(std::move(release_));
  }

 private:
  Calls release_;
};

}  // namespace

Context makeContext(void* context, QVLContextRelease release) {
  auto so = Where::anywhereSoFar;
  where.compare_exchange_strong(so, Where::anywhere);
  if (!release) return {context, [](void*) {}};
  Context own(context, release);
  if (so != Where::onMainQueue) return own;
  return {std::make_shared<ReleasedOnMainQueue>(std::move(own)), context};
}

bool isCalledHere() {
  return isHere || where != Where::onMainQueue;
}

void callLater(std::function<void()> call) {
  Calls calls;
  calls.push_back(std::move(call));
  wait(std::move(calls));
}

CallsHere::CallsHere() : before_(std::exchange(isHere, true)) {}
CallsHere::~CallsHere() {
  isHere = before_;
}

bool releaseWaitingCalls(std::chrono::steady_clock::time_point deadline) {
  auto& state = Bridge::state();
  const CallsHere here;
  {
    Calls dropped;  // goes after the lock does
    const std::lock_guard lock(state.mutex);
    dropped.swap(state.waiting);
  }
  std::unique_lock lock(state.mutex);
  return state.changed.wait_until(lock, deadline, [&] {
    return state.running == 0 || state.thread == std::this_thread::get_id();
  });
}

}  // namespace PellixPlatform::Bridge

using namespace PellixPlatform::Bridge;

bool QVLMainQueue_takeAllCallbacks() {
  auto so = Where::anywhereSoFar;
  where.compare_exchange_strong(so, Where::onMainQueue);
  if (so == Where::anywhere) misuse(__func__, "called after a callback was given");
  return true;
}
