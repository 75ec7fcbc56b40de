#pragma once

#include "EventLoop.h"
#include "Options.h"
#include "WaitIndicator.h"

#include <PellixPlatform/Error.h>
#include <PellixProvidersSDK/PellixProvidersSDK.h>

#include <chrono>
#include <expected>
#include <functional>
#include <memory>
#include <optional>

namespace PellixApp {

/// Sets up the three libraries for the account that the options name.
[[nodiscard]] std::expected<std::shared_ptr<const PellixProvidersSDK::Pellix>,
                            PellixPlatform::Error>
setUp(const Options& options);

/// Waits for what still goes on behind an operation that has ended, such as a vote.
void waitUntilIdle();

/// Starts an operation and runs the loop until the operation has ended: with what it was called
/// back with, or with nothing. A silent ending shows at once, since the operation lets go of its
/// callback then, and with it of the guard that stops the loop. Throws `Interrupted`.
template <class Answer>
[[nodiscard]] std::optional<Answer> await(
    const std::function<void(std::function<void(Answer)>)>& start) {
  auto& loop = EventLoop::shared();
  // Shared, for after Ctrl-C an answer may still arrive on the library's worker.
  const auto answer = std::make_shared<std::optional<Answer>>();
  {
    const std::shared_ptr<void> guard(nullptr, [&loop](void*) { loop.stop(); });
    start([answer, guard](Answer arrived) { *answer = std::move(arrived); });
  }
  WaitIndicator indicator;
  loop.run([&indicator] { indicator.show(); });
  return *answer;
}

}  // namespace PellixApp
