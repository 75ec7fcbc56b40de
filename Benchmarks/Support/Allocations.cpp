#include "Support/Allocations.h"

// The C library's own, under the names that stay when a program brings its own `malloc`.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

namespace Benchmarks {
namespace {

constinit thread_local Allocations made;

void add(std::size_t bytes) {
  ++made.count;
  made.bytes += bytes;
}

}  // namespace

Allocations Allocations::now() {
  return made;
}

}  // namespace Benchmarks

extern "C" {

void* malloc(std::size_t size) {
  Benchmarks::add(size);
  return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
  Benchmarks::add(count * size);
  return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) {
  Benchmarks::add(size);
  return __libc_realloc(memory, size);
}
}
