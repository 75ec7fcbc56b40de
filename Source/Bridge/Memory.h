#pragma once

#include <PellixProvidersSDK/QVLPellix.h>

#include <memory>
#include <new>

namespace PellixProvidersSDK::Bridge {

/// Runs `body`, which may need memory; false if there was none. Nothing else is thrown by the
/// library, and what a host throws into it ends the process here: no exception crosses the bridge.
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

}  // namespace PellixProvidersSDK::Bridge
