#pragma once

#include <PellixPlatform/QVLPlatform.h>

#include <memory>
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

/// A callback's context. The last copy to go releases it.
using Context = std::shared_ptr<void>;

/// Takes over a context: released even if this throws. Make it before anything else that may.
inline Context makeContext(void* context, QVLContextRelease release) {
  if (!release) return {context, [](void*) {}};
  return {context, release};
}

}  // namespace PellixPlatform::Bridge
