#include "ResourceDirectory.h"

const char* pellixHostResources() {
  return "";
}
