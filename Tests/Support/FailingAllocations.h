#pragma once

#include <cstddef>
#include <cstdint>

namespace Support {

/// How memory runs out: from some allocation on, or for that one alone.
enum class Shortage : std::uint8_t { lasting, passing };

/// From now on so many allocations succeed on this thread, and then none, or all but one. Without a
/// sanitizer, those by `malloc` count too, which C libraries make.
void beginFailingAllocations(std::size_t allocations, Shortage shortage = Shortage::lasting);

/// There is plenty again. Whether an allocation failed meanwhile.
bool endFailingAllocations();

/// How many allocations by `new` are there, of all threads.
[[nodiscard]] std::ptrdiff_t liveAllocations();

}  // namespace Support
