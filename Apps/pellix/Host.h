#pragma once

#include "Options.h"

#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <Platform/DispatchQueue.h>
#include <Platform/Error.h>

#include <expected>
#include <functional>
#include <memory>
#include <optional>

namespace PellixApp {

/// Sets up the three libraries for the account that the options name.
[[nodiscard]] std::expected<std::shared_ptr<const PellixProvidersSDK::Pellix>, Platform::Error>
setUp(const Options& options);

/// Starts an operation and runs the main queue until the operation has ended: with what it was
/// called back with, or with nothing. A silent ending shows at once, since the operation lets go of
/// its callback then, and with it of the guard that stops the queue.
template <class Answer>
[[nodiscard]] std::optional<Answer> await(
    const std::function<void(std::function<void(Answer)>)>& start) {
  auto& queue = Platform::DispatchQueue::main();
  std::optional<Answer> answer;
  {
    const std::shared_ptr<void> guard(nullptr, [&queue](void*) { queue.stop(); });
    start([&answer, guard](Answer arrived) { answer = std::move(arrived); });
  }
  queue.run();
  return answer;
}

}  // namespace PellixApp
