#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace PellixPlatform {

/// A function on its way to its one call, in a slot that all copies of this share. The copy that is
/// called first takes it out; it is gone when it has run, or when the last copy goes uncalled,
/// whoever still keeps a spent one. An empty `std::function` is called without effect.
///
/// What callbacks pass through hands them on like this, so that an operation lets go of its
/// callback wherever it ends. Handing on the function itself would not do: a moved-from
/// `std::function` may keep its captures, and what goes from thread to thread may be called there
/// before it is gone here.
///
/// Thread safety: none; copies are handed on, and one of them is called.
template <class Function>
class Once {
 public:
  /// Takes `function` out of the caller's hands. It may hold what can only be moved.
  explicit Once(Function&& function) : slot_(std::make_shared<std::optional<Function>>()) {
    if constexpr (requires { function = nullptr; }) {
      if (function) slot_->emplace(std::exchange(function, nullptr));
    } else {
      slot_->emplace(std::move(function));
    }
  }

  template <class... Arguments>
  void operator()(Arguments&&... arguments) const {
    if (auto taken = std::exchange(*slot_, std::nullopt)) {
      (*taken)(std::forward<Arguments>(arguments)...);
    }
  }

 private:
  std::shared_ptr<std::optional<Function>> slot_;
};

}  // namespace PellixPlatform
