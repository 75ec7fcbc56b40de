#pragma once

#include <PellixPlatform/DispatchQueue.h>
#include <PellixProvidersSDK/PellixProviderProtocol.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <coroutine>
#include <mutex>
#include <new>
#include <utility>

/// Conveniences for C++ hosts above the operations: a callback that is always called, and a future
/// that a thread can wait for and a coroutine can await. All of it stands in this header.

namespace PellixProvidersSDK {

namespace Internal {

/// The one call of an ending's callback, on the main queue.
template <class T>
class EndingCall {
 public:
  explicit EndingCall(std::function<void(Ending<T>)> callback)
      : pending_(std::make_shared<Pending>(std::move(callback))) {}
  EndingCall(const EndingCall&) = delete;
  EndingCall& operator=(const EndingCall&) = delete;
  ~EndingCall() {
    if (pending_) end(std::nullopt);
  }

  void end(Ending<T> ending) {
    const auto pending = std::exchange(pending_, nullptr);
    if (!pending) return;
    pending->ending = std::move(ending);
    try {
      PellixPlatform::DispatchQueue::main().post([pending] { pending->call(); });
    } catch (const std::bad_alloc&) {
      pending->call();  // rather here than never
    }
  }

 private:
  struct Pending {
    std::function<void(Ending<T>)> callback;
    Ending<T> ending;

    void call() { callback(std::move(ending)); }
  };

  std::shared_ptr<Pending> pending_;  // null once it is on its way
};

}  // namespace Internal

/// A callback for an operation out of one that tells three endings apart.
///
/// Calls: `callback` (not empty) is called exactly once, also for an ending that is silent
/// otherwise, those by `Quorvel::shutDown` included; never, if the host no longer runs the main
/// queue, or the process ends first. Thread: always in a task of the main queue, whatever thread
/// the operation ends on; when memory runs out, perhaps on that thread at once, and it must not
/// throw then.
template <class T>
[[nodiscard]] ResultCallback<T> whenEnded(std::function<void(Ending<T>)> callback) {
  return [call = std::make_shared<Internal::EndingCall<T>>(std::move(callback))](Result<T> result) {
    call->end(std::move(result));
  };
}

/// The ending of an operation that has been started, to wait for on a thread or in a coroutine.
///
/// The operation goes on whether anybody waits or not; letting go of the future does not cancel it.
/// Some thread has to run the main queue meanwhile.
///
/// Thread safety: one thread at a time.
template <class T>
class [[nodiscard]] EndingFuture {
 public:
  EndingFuture() = default;

  /// For the operation whose ending this is. Only once.
  [[nodiscard]] ResultCallback<T> callback() {
    return whenEnded<T>([state = state_](Ending<T> ending) { state->end(std::move(ending)); });
  }

  /// Whether the operation has ended.
  [[nodiscard]] bool isReady() const { return state_->isReady(); }

  /// Waits until the operation has ended, at most for `limit`, and says whether it has.
  ///
  /// Stops the process with a report if this is the thread that runs the main queue, or the last
  /// that did, since the ending would arrive there. Which one it will be is not known before the
  /// queue runs: until then the wait is in vain there, as it is on the thread of the transport,
  /// that is, in a callback that says it runs there.
  [[nodiscard]] bool waitFor(std::chrono::milliseconds limit) const {
    return state_->waitFor(limit);
  }

  /// Waits until the operation has ended, like `waitFor`, and says how.
  [[nodiscard]] Ending<T> get() const {
    while (!waitFor(std::chrono::hours(24))) {
    }
    return state_->ending.value();
  }

  /// `co_await` gives the ending. If there is none yet, the coroutine is resumed in a task of the
  /// main queue; else it goes on at once. One coroutine at a time. A
  /// coroutine that waits may be destroyed on the thread that runs the main queue.
  [[nodiscard]] auto operator co_await() const { return Awaiter(state_); }

 private:
  struct State {
    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    std::optional<Ending<T>> ending;
    std::coroutine_handle<> waiting;

    void end(Ending<T> how) {
      std::coroutine_handle<> resumed;
      {
        const std::lock_guard lock(mutex);
        ending.emplace(std::move(how));
        resumed = std::exchange(waiting, nullptr);
      }
      changed.notify_all();
      if (resumed) resumed.resume();
    }

    bool isReady() const {
      const std::lock_guard lock(mutex);
      return ending.has_value();
    }

    bool waitFor(std::chrono::milliseconds limit) const {
      if (!isReady()) PellixPlatform::DispatchQueue::main().assertNotOnQueue();
      constexpr std::chrono::milliseconds none(0);
      constexpr std::chrono::milliseconds longest = std::chrono::days(365);
      std::unique_lock lock(mutex);
      return changed.wait_for(lock, std::clamp(limit, none, longest),
                              [this] { return ending.has_value(); });
    }
  };

  class Awaiter {
   public:
    explicit Awaiter(std::shared_ptr<State> state) : state_(std::move(state)) {}
    Awaiter(const Awaiter&) = delete;
    Awaiter& operator=(const Awaiter&) = delete;
    ~Awaiter() {
      const std::lock_guard lock(state_->mutex);
      state_->waiting = nullptr;  // the coroutine is gone
    }

    [[nodiscard]] bool await_ready() const { return state_->isReady(); }
    bool await_suspend(std::coroutine_handle<> coroutine) {
      const std::lock_guard lock(state_->mutex);
      if (state_->ending) return false;
      state_->waiting = coroutine;
      return true;
    }
    [[nodiscard]] Ending<T> await_resume() const { return state_->ending.value(); }

   private:
    const std::shared_ptr<State> state_;
  };

  std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// Starts `getDeflectionForQuery`: `co_await ask(provider, question)`, or `ask(...).get()`.
inline EndingFuture<DeflectionResponse> ask(PellixProviderProtocol& provider, std::string query) {
  EndingFuture<DeflectionResponse> ending;
  provider.getDeflectionForQuery(std::move(query), ending.callback());
  return ending;
}

/// Starts `resolveWithArticle`.
inline EndingFuture<PellixDispatcherResponse> resolve(PellixProviderProtocol& provider,
                                                      std::int64_t deflectionId,
                                                      std::int64_t articleId,
                                                      std::string interactionAccessToken) {
  EndingFuture<PellixDispatcherResponse> ending;
  provider.resolveWithArticle(deflectionId, articleId, std::move(interactionAccessToken),
                              ending.callback());
  return ending;
}

/// Starts `rejectWithArticle`.
inline EndingFuture<PellixDispatcherResponse> reject(PellixProviderProtocol& provider,
                                                     std::int64_t deflectionId,
                                                     std::int64_t articleId,
                                                     std::string interactionAccessToken,
                                                     RejectionReason reason) {
  EndingFuture<PellixDispatcherResponse> ending;
  provider.rejectWithArticle(deflectionId, articleId, std::move(interactionAccessToken), reason,
                             ending.callback());
  return ending;
}

}  // namespace PellixProvidersSDK
