// Takes the place of the program's allocation functions; those for arrays call these.
#include "Support/FailingAllocations.h"

#include "Support/Sanitized.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <new>

#if !defined(IS_ADDRESS_SANITIZED) && !defined(IS_THREAD_SANITIZED)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}
#else
static void* __libc_malloc(std::size_t size) {
  return std::malloc(size);
}
#endif

namespace Support {
namespace {

constexpr auto plenty = std::numeric_limits<std::size_t>::max();
constinit thread_local std::size_t left = plenty;
constinit thread_local bool isPassing = false;
constinit thread_local bool ranOut = false;
constinit std::atomic<std::ptrdiff_t> live = 0;

bool mayAllocate() {
  if (left == 0) {
    ranOut = true;
    if (isPassing) left = plenty;
    errno = ENOMEM;
    return false;
  }
  if (left != plenty) --left;
  return true;
}

/// Null when there is no more.
void* tryToAllocate(std::size_t size) noexcept {
  void* const memory = mayAllocate() ? __libc_malloc(size == 0 ? 1 : size) : nullptr;
  if (memory) ++live;
  return memory;
}

void* allocate(std::size_t size) {
  if (void* const memory = tryToAllocate(size)) return memory;
  throw std::bad_alloc();
}

void release(void* memory) noexcept {
  if (memory) --live;
  std::free(memory);
}

}  // namespace

void beginFailingAllocations(std::size_t allocations, Shortage shortage) {
  left = allocations;
  isPassing = shortage == Shortage::passing;
  ranOut = false;
}

bool endFailingAllocations() {
  left = plenty;
  return ranOut;
}

std::ptrdiff_t liveAllocations() {
  return live;
}

}  // namespace Support

void* operator new(std::size_t size) {
  return Support::allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Support::tryToAllocate(size);
}
void operator delete(void* memory) noexcept {
  Support::release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  Support::release(memory);
}

#if !defined(IS_ADDRESS_SANITIZED) && !defined(IS_THREAD_SANITIZED)
extern "C" {
void* malloc(std::size_t size) noexcept {
  return Support::mayAllocate() ? __libc_malloc(size) : nullptr;
}
void* calloc(std::size_t count, std::size_t size) noexcept {
  return Support::mayAllocate() ? __libc_calloc(count, size) : nullptr;
}
void* realloc(void* memory, std::size_t size) noexcept {
  return Support::mayAllocate() ? __libc_realloc(memory, size) : nullptr;
}
}
#endif
