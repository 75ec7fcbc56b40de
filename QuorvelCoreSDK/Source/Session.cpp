#include "Session.h"

#include "PendingCall.h"

#include <utility>

namespace QuorvelCoreSDK {

Session::UnderWay::UnderWay(std::shared_ptr<Session> session) : session_(std::move(session)) {
  if (!session_) return;
  const std::lock_guard lock(session_->mutex_);
  ++session_->underWay_;
}

Session::UnderWay::~UnderWay() {
  if (!session_) return;
  const std::lock_guard lock(session_->mutex_);
  if (--session_->underWay_ == 0) session_->idle_.notify_all();
}

void Session::post(const std::shared_ptr<Session>& session, std::function<void()> task) {
  const PendingCall call(task);
  if (!call) return;
  session->transport().post([call, underWay = UnderWay(session)]() mutable {
    const auto ended = std::move(underWay);
    call();
  });
}

bool Session::waitUntilIdle(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  return idle_.wait_until(lock, deadlineAfter(limit), [&] { return underWay_ == 0; });
}

}  // namespace QuorvelCoreSDK
