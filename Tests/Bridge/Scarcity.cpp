// Takes the place of the program's allocation functions.
#include "Bridge/Scarcity.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace BridgeTests {
namespace {

constexpr auto plenty = std::numeric_limits<std::size_t>::max();
thread_local std::size_t left = plenty;
thread_local bool ranOut = false;

/// Null when there is no more.
void* tryToAllocate(std::size_t size) noexcept {
  void* const memory = left == 0 ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (memory) {
    --left;
  } else {
    ranOut = true;
  }
  return memory;
}

void* allocate(std::size_t size) {
  if (void* const memory = tryToAllocate(size)) return memory;
  throw std::bad_alloc();
}

}  // namespace

void beginScarcity(std::size_t allocations) {
  left = allocations;
  ranOut = false;
}

bool endScarcity() {
  left = plenty;
  return ranOut;
}

}  // namespace BridgeTests

void* operator new(std::size_t size) {
  return BridgeTests::allocate(size);
}
void* operator new[](std::size_t size) {
  return BridgeTests::allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return BridgeTests::tryToAllocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return BridgeTests::tryToAllocate(size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}
