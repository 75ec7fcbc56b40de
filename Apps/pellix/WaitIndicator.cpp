#include "WaitIndicator.h"

#include "Terminal.h"

#include <chrono>
#include <string_view>

namespace PellixApp {

WaitIndicator::WaitIndicator() {
  const auto width = Terminal::of(stderr).width;
  if (width == 0) return;
  thread_ = std::thread([this, width] {
    constexpr std::chrono::milliseconds aMoment(400);
    constexpr std::string_view text = "Asking... (Ctrl-C ends)";
    const auto fitting = text.substr(0, width - 1);
    std::unique_lock lock(mutex_);
    const auto isOver = [this] { return isOver_; };
    if (changed_.wait_for(lock, aMoment, isOver)) return;
    tell(fitting);
    changed_.wait(lock, isOver);
    tell("\r" + std::string(fitting.size(), ' ') + "\r");
  });
}

WaitIndicator::~WaitIndicator() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

}  // namespace PellixApp
