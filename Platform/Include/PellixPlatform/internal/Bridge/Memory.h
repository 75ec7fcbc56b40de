#pragma once

#include <PellixPlatform/QVLPlatform.h>

#include <new>

namespace PellixPlatform::Bridge {

/// Runs `body`, which may need memory; false if there was none. Nothing else is thrown by the
/// libraries, and what a host throws into them ends the process here: no exception reaches C.
template <class Body>
bool withMemory(Body body) noexcept {
  try {
    body();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace PellixPlatform::Bridge
