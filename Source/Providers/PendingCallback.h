#pragma once

#include <PellixProvidersSDK/ResultCallback.h>

#include <memory>
#include <utility>

namespace PellixProvidersSDK {

/// A caller's callback on its way through an operation: called or not, it goes when this goes.
///
/// It is moved by pointer. A moved-from `std::function` may still hold its captures, so passing
/// that on from step to step would leave copies behind.
template <class T>
class PendingCallback {
 public:
  /// Takes `callback` out of the caller's hands; it is empty afterwards.
  explicit PendingCallback(ResultCallback<T>& callback)
      : held_(std::make_unique<ResultCallback<T>>(std::exchange(callback, nullptr))) {}

  void operator()(Result<T> result) {
    const auto held = std::move(held_);
    if (held && *held) (*held)(std::move(result));
  }

 private:
  std::unique_ptr<ResultCallback<T>> held_;
};

}  // namespace PellixProvidersSDK
