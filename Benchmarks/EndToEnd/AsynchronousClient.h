#pragma once

#include "EndToEnd/Clients.h"

#include <chrono>
#include <utility>

namespace Benchmarks {

/// A client that hears of replies in an event loop, and asks the next question there.
class AsynchronousClient : public Client {
 public:
  std::vector<double> ask(std::size_t count, std::size_t inFlight) final {
    unasked_ = count;
    unanswered_ = count;
    microseconds_.clear();
    for (std::size_t i = 0; i < inFlight && unasked_ > 0; ++i) askNext();
    run();
    return std::move(microseconds_);
  }

 protected:
  using Time = std::chrono::steady_clock::time_point;

  /// Asks one question. `answered` is to be called when its reply is decoded, with its `begin`.
  virtual void askOne(Time begin) = 0;
  /// Runs the event loop until `stop` is called in it.
  virtual void run() = 0;
  virtual void stop() = 0;

  void answered(Time begin) {
    microseconds_.push_back(
        std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin)
            .count());
    if (unasked_ > 0) askNext();
    if (--unanswered_ == 0) stop();
  }

 private:
  void askNext() {
    --unasked_;
    askOne(std::chrono::steady_clock::now());
  }

  std::size_t unasked_ = 0;
  std::size_t unanswered_ = 0;
  std::vector<double> microseconds_;
};

}  // namespace Benchmarks
