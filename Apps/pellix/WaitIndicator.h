#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace PellixApp {

/// A line on the terminal, if standard error is one, that says that the program waits. It comes
/// after a moment and goes with this object.
class WaitIndicator {
 public:
  WaitIndicator();
  WaitIndicator(const WaitIndicator&) = delete;
  WaitIndicator& operator=(const WaitIndicator&) = delete;
  ~WaitIndicator();

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool isOver_ = false;
  std::thread thread_;
};

}  // namespace PellixApp
