#include "Session.h"

#include "PendingCall.h"

#include <utility>

namespace QuorvelCoreSDK {

std::shared_ptr<void> Session::begin(const std::shared_ptr<Session>& session) {
  {
    const std::lock_guard lock(session->mutex_);
    ++session->underWay_;
  }
  return {nullptr, [session](void*) { session->end(); }};
}

void Session::post(const std::shared_ptr<Session>& session, std::function<void()> task) {
  const PendingCall call(task);
  if (!call) return;
  session->transport().post([call, underWay = begin(session)]() mutable {
    const auto ended = std::exchange(underWay, nullptr);
    call();
  });
}

void Session::end() {
  const std::lock_guard lock(mutex_);
  if (--underWay_ == 0) idle_.notify_all();
}

bool Session::waitUntilIdle(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  return idle_.wait_until(lock, deadlineAfter(limit), [&] { return underWay_ == 0; });
}

}  // namespace QuorvelCoreSDK
