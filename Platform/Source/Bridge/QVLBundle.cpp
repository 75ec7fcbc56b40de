#include <PellixPlatform/Bundle.h>
#include <PellixPlatform/internal/Bridge/Memory.h>
#include <PellixPlatform/internal/Bridge/Text.h>

using namespace PellixPlatform::Bridge;

bool QVLBundle_setResourceDirectory(const char* path, size_t pathLength) {
  const auto directory = textOf(path, pathLength, __func__);
  if (!isPath(directory)) return false;
  bool isSet = false;
  withMemory([&] { isSet = PellixPlatform::Bundle::setResourceDirectory(directory).has_value(); });
  return isSet;
}
