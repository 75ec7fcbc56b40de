#pragma once

#include <cstddef>

// The C library's own, under the names that stay when a program brings its own `malloc`.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

namespace Benchmarks {

/// What has been asked of the heap, by whatever means.
struct Allocations {
  std::size_t count = 0;
  std::size_t bytes = 0;
};

/// By this thread, so far.
inline constinit thread_local Allocations allocations;

/// By doing something.
template <class Work>
[[nodiscard]] Allocations allocationsOf(const Work& work) {
  const auto before = allocations;
  work();
  return {allocations.count - before.count, allocations.bytes - before.bytes};
}

inline std::size_t counted(std::size_t bytes) {
  ++allocations.count;
  allocations.bytes += bytes;
  return bytes;
}

}  // namespace Benchmarks

// For the whole program: this header is for the file with its `main`.
extern "C" {
void* malloc(std::size_t size) {
  return __libc_malloc(Benchmarks::counted(size));
}
void* calloc(std::size_t count, std::size_t size) {
  return __libc_calloc(1, Benchmarks::counted(count * size));
}
void* realloc(void* memory, std::size_t size) {
  return __libc_realloc(memory, Benchmarks::counted(size));
}
}
