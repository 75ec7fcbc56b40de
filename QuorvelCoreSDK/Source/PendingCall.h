#pragma once

#include "Deadline.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <utility>

namespace QuorvelCoreSDK {

/// The callbacks that the core has taken on and not let go of yet: in whatever transport, document
/// or queue one waits, it is found here.
class PendingCalls {
 public:
  class Entry;

  /// Whether any are taken on. When they are not, an operation ends at once.
  [[nodiscard]] static bool areAccepted();
  /// None are any more: the process ends.
  static void refuseAtExit();
  /// None are, in a forked child, for it does not have the parent's thread. The log says so once.
  static void refuseInChild();
  [[nodiscard]] static bool isInChild();
  /// They are again, after `releaseWaiting`.
  static void accept();

  /// None are taken on from now on, and those that wait are released on this thread. The result
  /// stands for those that there were.
  static std::uint64_t releaseWaiting();
  /// Waits until those are gone that run on other threads; false if they are not in time.
  static bool waitUntilGone(std::uint64_t before, Clock::time_point deadline);

 private:
  struct State;
  static State& state();
};

/// One of them. It waits until a thread takes it, to call or to release it, and is listed until
/// that thread has let go of the callback.
class PendingCalls::Entry : public std::enable_shared_from_this<Entry> {
 public:
  Entry() = default;
  Entry(const Entry&) = delete;
  Entry& operator=(const Entry&) = delete;
  virtual ~Entry() = default;

  /// To no effect if none are taken on.
  void join();
  /// False if it never joined, or somebody else has taken it.
  bool take();
  /// After `take`: lets go of the callback, and of the place in the list.
  void leave();
  [[nodiscard]] bool isWaiting() const { return !isTaken_; }

 protected:
  virtual void release() = 0;

 private:
  friend class PendingCalls;

  Entry* previous_ = nullptr;
  Entry* next_ = nullptr;
  std::atomic<bool> isTaken_ = true;
  std::thread::id thread_;  // that has taken it
  std::uint64_t number_{};
};

/// A callback on its way to its one call, like the platform's `Once`, but `Quorvel::shutDown` finds
/// it.
///
/// Thread safety: any thread; the first call counts.
template <class... Arguments>
class PendingCall {
 public:
  /// Takes `callback` out of the caller's hands. If none are taken on, no call counts.
  explicit PendingCall(std::function<void(Arguments...)>& callback)
      : held_(std::make_shared<Held>(std::exchange(callback, nullptr))) {
    held_->join();
  }

  /// Whether a call would still count.
  explicit operator bool() const { return held_->isWaiting(); }

  void operator()(Arguments... arguments) const {
    const auto held = held_;  // this may go meanwhile
    if (!held->take()) return;
    const Leaving leaving{*held};
    if (held->callback) held->callback(std::forward<Arguments>(arguments)...);
  }

 private:
  struct Held final : PendingCalls::Entry {
    std::function<void(Arguments...)> callback;

    explicit Held(std::function<void(Arguments...)> taken) : callback(std::move(taken)) {}
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held() override {
      if (!isWaiting()) return;
      take();  // so that this thread does not wait for it
      leave();
    }
    void release() override { callback = nullptr; }
  };

  struct Leaving {
    Held& held;
    explicit Leaving(Held& of) : held(of) {}
    Leaving(const Leaving&) = delete;
    Leaving& operator=(const Leaving&) = delete;
    ~Leaving() { held.leave(); }
  };

  std::shared_ptr<Held> held_;
};

}  // namespace QuorvelCoreSDK
