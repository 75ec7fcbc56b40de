#pragma once

#include <PellixPlatform/internal/Bridge/Memory.h>

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

/// How the host is called: where the occasion arises or, if it chose that, on the main queue alone.
/// What arises elsewhere waits in one list then, in which a shut-down finds it.
namespace PellixPlatform::Bridge {

/// A callback's context. The last copy to go releases it.
using Context = std::shared_ptr<void>;

/// Takes over a context: released even if this throws. Make it before anything else that may.
PELLIX_EXPORT Context makeContext(void* context, QVLContextRelease release);

/// Whether the host may be called on this thread now.
PELLIX_EXPORT bool isCalledHere();

/// Calls the host on the main queue.
PELLIX_EXPORT void callLater(std::function<void()> call);

/// Calls the host; not at all if memory runs out.
template <class Call>
void callHost(Call call) {
  withMemory([&] { isCalledHere() ? call() : callLater(std::move(call)); });
}

/// While it lives, the host is called on this thread.
class PELLIX_EXPORT CallsHere {
 public:
  CallsHere();
  CallsHere(const CallsHere&) = delete;
  CallsHere& operator=(const CallsHere&) = delete;
  ~CallsHere();

 private:
  const bool before_;
};

/// Lets go of what waits to be called, on this thread, and waits for what runs on another one;
/// whether that ended in time.
PELLIX_EXPORT bool releaseWaitingCalls(std::chrono::steady_clock::time_point deadline);

}  // namespace PellixPlatform::Bridge
