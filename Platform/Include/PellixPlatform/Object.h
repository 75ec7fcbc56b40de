#pragma once

#include <PellixPlatform/Export.h>

#include <cstddef>
#include <memory>

namespace PellixPlatform {

/// The root class of everything that is handed out by reference.
///
/// Ownership: objects are held by `std::shared_ptr`. Whoever has but a reference can take part in
/// the ownership by `shared_from_this`. Records and responses are held as const and never change
/// once made; what else can change says so.
///
/// Thread safety: the members here may be called from any thread.
class PELLIX_EXPORT Object : public std::enable_shared_from_this<Object> {
 public:
  virtual ~Object();

  /// Whether `other` (null allowed) says the same as this object. The root class compares identity.
  [[nodiscard]] virtual bool isEqual(const Object* other) const;

  /// Goes by identity, also where `isEqual` does not: equal records need not hash alike.
  [[nodiscard]] virtual std::size_t hash() const;

 protected:
  Object() = default;
  Object(const Object&) = default;
  Object& operator=(const Object&) = default;
};

}  // namespace PellixPlatform
