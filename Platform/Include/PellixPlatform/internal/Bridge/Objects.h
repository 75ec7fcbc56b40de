#pragma once

#include <PellixPlatform/Object.h>
#include <PellixPlatform/QVLPlatform.h>

#include <memory>
#include <type_traits>

/// How objects cross into C.
///
/// What the host sees of an object is the address of its root class. The host's references are
/// counted in one table, which owns a share of every object that has some; all other owners are as
/// in C++. What is borrowed is not in the table; to retain it, its root class is asked, which knows
/// the owners.
namespace PellixPlatform::Bridge {

/// The class behind one of the host's names: its member `Type`. Each library says it of its own.
template <class Handle>
struct ClassBehind;

template <class Handle>
using ClassOf = typename ClassBehind<std::remove_const_t<Handle>>::Type;

/// Stops the process, for the host's program is wrong: what it did, in which function.
[[noreturn]] PELLIX_EXPORT void misuse(const char* function, const char* what);

/// The object that the host passed to a function.
template <class Handle>
ClassOf<Handle>& objectOf(Handle* handle, const char* function) {
  if (!handle) misuse(function, "null where an object is needed");
  const auto* root = reinterpret_cast<const Object*>(handle);
  const auto* object = dynamic_cast<const ClassOf<Handle>*>(root);
  if (!object) misuse(function, "an object of another class");
  return const_cast<ClassOf<Handle>&>(*object);  // the host's `const` says less than the class
}

/// The object that a record is compared with: of any class, or null.
inline const Object* anyObject(const QVLObject* handle) {
  return static_cast<const Object*>(handle);
}

/// What the host sees of an object, borrowed. Null stays null.
template <class Handle>
Handle* handleOf(ClassOf<Handle>* object) {
  const Object* root = object;
  return const_cast<Handle*>(reinterpret_cast<const Handle*>(root));
}

/// Takes part in the ownership of an object that the host passed.
template <class Class>
std::shared_ptr<Class> shared(Class& object) {
  return std::static_pointer_cast<Class>(object.shared_from_this());
}

/// Adds a reference of the host's.
PELLIX_EXPORT void retain(std::shared_ptr<const Object> object);

/// What the host sees of a new object, retained.
template <class Handle>
Handle* retained(const std::shared_ptr<ClassOf<Handle>>& object) {
  retain(object);
  return handleOf<Handle>(object.get());
}

}  // namespace PellixPlatform::Bridge
