#pragma once

#include "Options.h"
#include "Timings.h"
#include "WaitIndicator.h"

#include <PellixPlatform/DispatchQueue.h>
#include <PellixPlatform/Error.h>
#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <QuorvelCoreSDK/Quorvel.h>

#include <expected>
#include <functional>
#include <memory>
#include <optional>

namespace PellixApp {

/// Sets up the core for the account that the options name.
[[nodiscard]] std::expected<std::shared_ptr<QuorvelCoreSDK::Quorvel>, PellixPlatform::Error>
setUpCore(const Options& options);

/// Sets up all three libraries.
[[nodiscard]] std::expected<std::shared_ptr<const PellixProvidersSDK::Pellix>,
                            PellixPlatform::Error>
setUp(const Options& options);

/// What the requests so far took; null unless the options ask for that.
[[nodiscard]] const TimingTransport* timings();

/// Has a connection ready for what the person reports after reading.
void prepare();

/// Waits for what still goes on behind an operation that has ended, such as a vote.
void waitUntilIdle();

/// Starts an operation and runs the main queue until the operation has ended: with what it was
/// called back with, or with nothing. A silent ending shows at once, since the operation lets go of
/// its callback then, and with it of the guard that stops the queue.
template <class Answer>
[[nodiscard]] std::optional<Answer> await(
    const std::function<void(std::function<void(Answer)>)>& start) {
  auto& queue = PellixPlatform::DispatchQueue::main();
  std::optional<Answer> answer;
  const auto stop = [&queue](void*) { queue.stop(); };
  start([&answer, guard = std::shared_ptr<void>(nullptr, stop)](Answer arrived) {
    answer = std::move(arrived);
  });
  const WaitIndicator indicator;
  queue.run();
  return answer;
}

}  // namespace PellixApp
