#include <PellixPlatform/Object.h>

#include <functional>

namespace PellixPlatform {

Object::~Object() = default;

bool Object::isEqual(const Object* other) const {
  return this == other;
}

std::size_t Object::hash() const {
  return std::hash<const Object*>{}(this);
}

}  // namespace PellixPlatform
