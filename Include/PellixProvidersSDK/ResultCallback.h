#pragma once

#include <PellixPlatform/Error.h>

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace PellixProvidersSDK {

/// A record, or why there is none.
template <class T>
using Result = std::expected<std::shared_ptr<const T>, PellixPlatform::Error>;

/// How an operation ended: with a record, with an error, or (nothing) without an answer.
template <class T>
using Ending = std::optional<Result<T>>;

/// How an operation reports its result.
///
/// Calls: at most once. Several documented situations end an operation without a call.
/// Release: every operation ends by letting go of its callback and of what that captured, whether
/// it was called or not, unless the process ends first. So a host that needs to know about a silent
/// ending captures something whose destruction tells: a guard, or a promise held by a shared
/// pointer. Thread: as each operation says. An empty callback is accepted, and the operation runs
/// all the same.
template <class T>
using ResultCallback = std::function<void(Result<T>)>;

/// The same with two arguments: (record, nothing) for success and (null, error) for failure.
///
/// Lambdas (generic ones too), functions and bound functions pick the right overload by the number
/// of their parameters. Ambiguous are `nullptr` and variadic generic lambdas: name the type then.
template <class T>
using OptionalsCallback =
    std::function<void(std::shared_ptr<const T>, std::optional<PellixPlatform::Error>)>;

/// A callback with two arguments as one with a result, for those who offer both forms of an
/// operation. An empty one stays empty.
template <class T>
ResultCallback<T> asResultCallback(OptionalsCallback<T> callback) {
  if (!callback) return nullptr;
  return [callback = std::exchange(callback, nullptr)](Result<T> result) {
    result ? callback(*std::move(result), std::nullopt)
           : callback(nullptr, std::move(result).error());
  };
}

}  // namespace PellixProvidersSDK
