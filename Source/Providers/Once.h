#pragma once

#include <memory>
#include <optional>
#include <utility>

namespace PellixProvidersSDK {

/// Makes a continuation of `function`, which may hold what can only be moved: it runs at most once,
/// and when it has run, what it held is gone, even if somebody keeps copies of the continuation.
///
/// Every step of an operation is handed on like this, so that an operation lets go of its callback
/// wherever it ends.
template <class Function>
[[nodiscard]] auto once(Function function) {
  return
      [slot = std::make_shared<std::optional<Function>>(std::move(function))](auto&&... arguments) {
        if (auto taken = std::exchange(*slot, std::nullopt)) {
          (*taken)(std::forward<decltype(arguments)>(arguments)...);
        }
      };
}

}  // namespace PellixProvidersSDK
