#pragma once

#include <cstddef>

namespace Benchmarks {

/// What this thread has asked of the heap so far, by whatever means.
struct Allocations {
  std::size_t count = 0;
  std::size_t bytes = 0;

  [[nodiscard]] static Allocations now();

  friend Allocations operator-(Allocations a, Allocations b) {
    return {a.count - b.count, a.bytes - b.bytes};
  }
};

/// What doing something asks of the heap.
template <class Work>
[[nodiscard]] Allocations allocationsOf(const Work& work) {
  const auto before = Allocations::now();
  work();
  return Allocations::now() - before;
}

}  // namespace Benchmarks
