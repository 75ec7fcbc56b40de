#include "Bridge/Handles.h"
#include "LibraryVersion.h"

#include <PellixPlatform/internal/Bridge/Memory.h>
#include <QuorvelCoreSDK/internal/QuorvelHandle.h>
#include <VeltraneProvidersSDK/internal/VeltraneHandle.h>

#include <string>
#include <utility>

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
  std::string version;  // which is empty if memory runs out
  withMemory([&] { version = libraryVersion(resourceBundle()); });
  if (capacity == 0) return version.size();
  if (!bytes) misuse(__func__, "null where a text is to be written");
  bytes[version.copy(bytes, capacity - 1)] = '\0';
  return version.size();
}

void QVLPellix_init() {
  static_cast<void>(Pellix());
  std::unreachable();  // the constructor does not return, which compilers can't all see
}
