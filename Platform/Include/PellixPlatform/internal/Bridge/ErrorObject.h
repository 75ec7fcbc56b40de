#pragma once

#include <PellixPlatform/Error.h>
#include <PellixPlatform/Object.h>
#include <PellixPlatform/internal/Bridge/Objects.h>

#include <string>

namespace PellixPlatform::Bridge {

/// An error value as an object, which is what hosts can hold.
class PELLIX_EXPORT ErrorObject final : public Object {
 public:
  explicit ErrorObject(Error error);
  ~ErrorObject() override;

  [[nodiscard]] const Error& error() const { return error_; }
  [[nodiscard]] const std::string& localizedDescription() const { return localizedDescription_; }

 private:
  const Error error_;
  const std::string localizedDescription_;
};

template <>
struct ClassBehind<QVLError> {
  using Type = const ErrorObject;
};

}  // namespace PellixPlatform::Bridge
