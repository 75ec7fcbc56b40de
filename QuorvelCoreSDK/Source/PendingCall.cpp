#include "PendingCall.h"

#include <QuorvelCoreSDK/CoreLogger.h>

#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <new>

namespace QuorvelCoreSDK {

struct PendingCalls::State {
  enum class Rule : std::uint8_t { accept, refuse, atExit, inChild, inChildAsSaid };

  std::atomic<Rule> rule = Rule::accept;
  std::mutex mutex;  // guards the rest, and each entry's
  std::condition_variable changed;
  Entry* first = nullptr;
  Entry* last = nullptr;
  std::uint64_t joined{};

  State() {
    // So that a forked child does not find it locked by a thread that it does not have.
    const auto lock = [] { state().mutex.lock(); };
    const auto unlock = [] { state().mutex.unlock(); };
    if (pthread_atfork(lock, unlock, unlock) != 0) throw std::bad_alloc();
  }

  bool change(Rule from, Rule to) { return rule.compare_exchange_strong(from, to); }

  /// The first of the entries up to a number of which `is` holds, or null.
  template <class Predicate>
  Entry* find(std::uint64_t upTo, Predicate is) const {
    for (auto* entry = first; entry && entry->number_ <= upTo; entry = entry->next_) {
      if (is(*entry)) return entry;
    }
    return nullptr;
  }
};

PendingCalls::State& PendingCalls::state() {
  static auto& state = *new State;  // leaked: callbacks may go while the process ends
  return state;
}

bool PendingCalls::areAccepted() {
  auto& state = PendingCalls::state();
  if (state.rule == State::Rule::accept) return true;
  if (state.change(State::Rule::inChild, State::Rule::inChildAsSaid)) {
    CoreLogger::warn(
        "This process was forked from one that makes requests. It makes none itself: every "
        "operation ends at once, without a result.");
  }
  return false;
}

void PendingCalls::accept() {
  state().change(State::Rule::refuse, State::Rule::accept);
}

void PendingCalls::refuseAtExit() {
  state().rule = State::Rule::atExit;
}

void PendingCalls::refuseInChild() {
  state().rule = State::Rule::inChild;
}

bool PendingCalls::isInChild() {
  const auto rule = state().rule.load();
  return rule == State::Rule::inChild || rule == State::Rule::inChildAsSaid;
}

std::uint64_t PendingCalls::releaseWaiting() {
  auto& state = PendingCalls::state();
  std::unique_lock lock(state.mutex);
  state.change(State::Rule::accept, State::Rule::refuse);
  const auto before = state.joined;
  if (isInChild()) return before;  // they are the parent's
  // One whose last owner is about to destroy it has gone for us, and is not there for long.
  std::shared_ptr<Entry> owned;
  const auto waits = [&owned](Entry& entry) {
    if (!entry.isTaken_) owned = entry.weak_from_this().lock();
    return owned != nullptr;
  };
  while (state.find(before, waits)) {
    owned->isTaken_ = true;
    owned->thread_ = std::this_thread::get_id();
    lock.unlock();
    owned->leave();
    owned = nullptr;
    lock.lock();
  }
  return before;
}

bool PendingCalls::waitUntilGone(std::uint64_t before, Clock::time_point deadline) {
  auto& state = PendingCalls::state();
  const auto isElsewhere = [](const Entry& entry) {
    return !entry.isTaken_ || entry.thread_ != std::this_thread::get_id();
  };
  std::unique_lock lock(state.mutex);
  const auto areGone = [&] { return !state.find(before, isElsewhere); };
  return isInChild() ? areGone() : state.changed.wait_until(lock, deadline, areGone);
}

void PendingCalls::Entry::join() {
  if (!areAccepted()) return;
  auto& state = PendingCalls::state();
  const std::lock_guard lock(state.mutex);
  if (state.rule != State::Rule::accept) return;
  number_ = ++state.joined;
  previous_ = state.last;
  (state.last ? state.last->next_ : state.first) = this;
  state.last = this;
  isTaken_ = false;
}

bool PendingCalls::Entry::take() {
  const std::lock_guard lock(state().mutex);
  if (isTaken_) return false;
  isTaken_ = true;
  thread_ = std::this_thread::get_id();
  return true;
}

void PendingCalls::Entry::leave() {
  release();
  auto& state = PendingCalls::state();
  {
    const std::lock_guard lock(state.mutex);
    (previous_ ? previous_->next_ : state.first) = next_;
    (next_ ? next_->previous_ : state.last) = previous_;
  }
  state.changed.notify_all();
}

}  // namespace QuorvelCoreSDK
