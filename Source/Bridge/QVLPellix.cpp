#include "Bridge/Handles.h"
#include "LibraryVersion.h"

#include <PellixPlatform/internal/Bridge/Memory.h>
#include <QuorvelCoreSDK/internal/QuorvelHandle.h>
#include <VeltraneProvidersSDK/internal/VeltraneHandle.h>

#include <algorithm>
#include <cstring>

using namespace PellixProvidersSDK;
using namespace PellixPlatform::Bridge;

void QVLPellix_initializeWithQuorvel_veltrane(QVLQuorvel* quorvel, QVLVeltrane* veltrane) {
  if (!quorvel) {  // which says what is wrong, before anything else is looked at
    withMemory([] { Pellix::initialize(nullptr, nullptr); });
    return;
  }
  auto& withQuorvel = objectOf(quorvel, __func__);
  auto& withVeltrane = objectOf(veltrane, __func__);
  withMemory([&] { Pellix::initialize(shared(withQuorvel), shared(withVeltrane)); });
}

const QVLPellix* QVLPellix_instance() {
  const QVLPellix* instance = nullptr;
  withMemory([&] { instance = handleOf<const QVLPellix>(Pellix::instance().get()); });
  return instance;
}

QVLPellixProvider* QVLPellix_provider(const QVLPellix* pellix) {
  return handleOf<QVLPellixProvider>(objectOf(pellix, __func__).provider().get());
}

size_t QVLPellix_version(char* bytes, size_t capacity) {
  size_t length = 0;
  withMemory([&] {
    const auto version = libraryVersion(resourceBundle());
    length = version.size();
    if (capacity == 0) return;
    const auto count = std::min(length, capacity - 1);
    std::memcpy(bytes, version.data(), count);
    bytes[count] = '\0';
  });
  return length;
}

void QVLPellix_init() {
  static_cast<void>(Pellix());
  std::unreachable();  // the constructor does not return, which compilers can't all see
}
