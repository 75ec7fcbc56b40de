#include <PellixPlatform/DispatchQueue.h>
#include <PellixPlatform/internal/Bridge/Callbacks.h>

#include <utility>

using namespace PellixPlatform::Bridge;
using PellixPlatform::DispatchQueue;

void QVLMainQueue_run() {
  const CallsHere here;
  // An operation that ran out of memory has ended; those behind it go on.
  while (!withMemory([] { DispatchQueue::main().run(); })) {
  }
}

bool QVLMainQueue_runFor(int64_t milliseconds) {
  const CallsHere here;
  bool ran = true;  // what runs out of memory did
  withMemory(
      [&] { ran = DispatchQueue::main().runFor(std::chrono::milliseconds(milliseconds)) > 0; });
  return ran;
}

void QVLMainQueue_runPending() {
  const CallsHere here;
  // Whatever is left then, the wake hook tells.
  withMemory([] { DispatchQueue::main().runPending(); });
}

void QVLMainQueue_stop() {
  DispatchQueue::main().stop();
}

bool QVLMainQueue_setWakeHook(QVLWakeHook hook, void* context, QVLContextRelease release) {
  return withMemory([&] {
    auto held = makeContext(context, release);
    if (!hook) return DispatchQueue::main().setWakeHook(nullptr);
    DispatchQueue::main().setWakeHook([hook, held = std::move(held)] { hook(held.get()); });
  });
}
