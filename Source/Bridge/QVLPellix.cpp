#include "Bridge/Handles.h"

#include <PellixPlatform/internal/Bridge/Memory.h>
#include <QuorvelCoreSDK/internal/QuorvelHandle.h>
#include <VeltraneProvidersSDK/internal/VeltraneHandle.h>

using namespace PellixProvidersSDK;
using namespace PellixPlatform::Bridge;

void QVLPellix_initializeWithQuorvel_veltrane(QVLQuorvel* quorvel, QVLVeltrane* veltrane) {
  auto& withVeltrane = objectOf(veltrane, __func__);
  auto* withQuorvel = quorvel ? &objectOf(quorvel, __func__) : nullptr;
  withMemory([&] {
    Pellix::initialize(withQuorvel ? shared(*withQuorvel) : nullptr, shared(withVeltrane));
  });
}

const QVLPellix* QVLPellix_instance() {
  const QVLPellix* instance = nullptr;
  withMemory([&] { instance = handleOf<const QVLPellix>(Pellix::instance().get()); });
  return instance;
}

QVLPellixProvider* QVLPellix_provider(const QVLPellix* pellix) {
  return handleOf<QVLPellixProvider>(objectOf(pellix, __func__).provider().get());
}

void QVLPellix_init() {
  static_cast<void>(Pellix());
  std::unreachable();  // the constructor does not return, which compilers can't all see
}
