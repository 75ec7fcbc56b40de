#include <PellixPlatform/internal/Bridge/Memory.h>
#include <PellixPlatform/internal/Bridge/Objects.h>
#include <PellixPlatform/internal/FatalError.h>

#include <cstdio>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace PellixPlatform::Bridge {
namespace {

struct References {
  std::shared_ptr<const Object> object;
  std::size_t count = 0;
};

struct Table {
  std::mutex mutex;
  std::unordered_map<const void*, References> references;
};

Table& table() {
  static auto& table = *new Table;  // leaked: hosts may release while the process ends
  return table;
}

}  // namespace

void misuse(const char* function, const char* what) {
  char report[256];  // memory may be what is missing
  std::snprintf(report, sizeof report, "Fatal error: %s: %s", function, what);
  fatalError(report);
}

void retain(std::shared_ptr<const Object> object) {
  auto& all = table();
  const std::lock_guard lock(all.mutex);
  auto& references = all.references[object.get()];
  ++references.count;
  references.object = std::move(object);
}

}  // namespace PellixPlatform::Bridge

using namespace PellixPlatform::Bridge;

void QVLRetain(const QVLObject* object) {
  if (!object) misuse(__func__, "null where an object is needed");
  // There is no way to go on without the reference: the host will rely on it.
  if (!withMemory([&] { retain(anyObject(object)->shared_from_this()); })) {
    misuse(__func__, "out of memory");
  }
}

void QVLRelease(const QVLObject* object) {
  if (!object) misuse(__func__, "null where an object is needed");
  std::shared_ptr<const PellixPlatform::Object> last;  // goes after the lock does
  auto& all = table();
  std::unique_lock lock(all.mutex);
  const auto found = all.references.find(object);
  if (found == all.references.end()) {
    lock.unlock();  // the host may hear of it, and call
    misuse(__func__, "released more often than retained");
  }
  if (--found->second.count > 0) return;
  last = std::move(found->second.object);
  all.references.erase(found);
}

size_t QVLLiveReferences() {
  auto& all = table();
  const std::lock_guard lock(all.mutex);
  size_t count = 0;
  for (const auto& [object, references] : all.references) count += references.count;
  return count;
}
