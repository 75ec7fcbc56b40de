#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <functional>
#include <random>
#include <utility>
#include <vector>

namespace Benchmarks::Fleet {

/// Since the midnight on which the day begins.
using Time = std::chrono::milliseconds;

constexpr double seconds(Time time) {
  return std::chrono::duration<double>(time).count();
}

/// A clock that stands while things happen, and goes on to the next thing then.
class VirtualTime {
 public:
  [[nodiscard]] Time now() const { return now_; }

  void after(Time pause, std::function<void()> task) {
    tasks_.push_back({now_ + pause, ++tasksSoFar_, std::move(task)});
    std::ranges::push_heap(tasks_, isLater);
  }

  /// Lets time pass until the next task is due, and runs it; false if there is none.
  bool runNext() {
    if (tasks_.empty()) return false;
    std::ranges::pop_heap(tasks_, isLater);
    const auto next = std::move(tasks_.back());
    tasks_.pop_back();
    now_ = next.time;
    next.run();
    return true;
  }

 private:
  struct Task {
    Time time;
    std::uint64_t number;  // those of one time run in the order in which they came
    std::function<void()> run;
  };
  static bool isLater(const Task& one, const Task& other) {
    return std::pair(one.time, one.number) > std::pair(other.time, other.number);
  }

  Time now_{};
  std::uint64_t tasksSoFar_ = 0;
  std::vector<Task> tasks_;  // a heap
};

/// Chance that comes out alike each time.
class Chance {
 public:
  explicit Chance(std::uint64_t seed) : generator_(seed) {}

  /// At least 0 and less than 1.
  double share() { return static_cast<double>(generator_() >> 11) * 0x1p-53; }

  /// A pause between things that happen on their own, so often on average.
  Time pause(Time mean) {
    const auto times = -std::log(1 - share());
    return std::chrono::round<Time>(times * std::chrono::duration<double>(mean));
  }

 private:
  std::mt19937_64 generator_;
};

}  // namespace Benchmarks::Fleet
