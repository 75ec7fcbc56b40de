#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace QuorvelCoreSDK {

/// A callback on its way to its one call; it is let go of right after that, whoever still holds a
/// copy of this. (A moved-from `std::function` may keep its captures, and what is handed from
/// thread to thread may be called there before it is gone here.) An empty callback is called
/// without effect.
///
/// Thread safety: none; copies are handed on, and one of them is called.
template <class... Arguments>
class OneCall {
 public:
  /// Takes `callback` out of the caller's hands; it is empty afterwards.
  explicit OneCall(std::function<void(Arguments...)>& callback)
      : slot_(
            std::make_shared<std::function<void(Arguments...)>>(std::exchange(callback, nullptr))) {
  }

  void operator()(Arguments... arguments) const {
    if (const auto callback = std::exchange(*slot_, nullptr)) {
      callback(std::forward<Arguments>(arguments)...);
    }
  }

 private:
  std::shared_ptr<std::function<void(Arguments...)>> slot_;
};

}  // namespace QuorvelCoreSDK
