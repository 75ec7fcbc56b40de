#pragma once

#include <cstddef>

namespace BridgeTests {

/// From now on so many allocations succeed on this thread, and then none.
void beginScarcity(std::size_t allocations);

/// There is plenty again. Whether an allocation failed meanwhile.
bool endScarcity();

}  // namespace BridgeTests
