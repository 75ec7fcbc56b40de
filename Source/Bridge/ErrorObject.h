#pragma once

#include <Platform/Error.h>
#include <Platform/Object.h>

#include <string>
#include <utility>

namespace PellixProvidersSDK::Bridge {

/// An error value as an object, which is what hosts can hold.
class ErrorObject final : public Platform::Object {
 public:
  explicit ErrorObject(Platform::Error error)
      : error_(std::move(error)), localizedDescription_(error_.localizedDescription()) {}

  [[nodiscard]] const Platform::Error& error() const { return error_; }
  [[nodiscard]] const std::string& localizedDescription() const { return localizedDescription_; }

 private:
  const Platform::Error error_;
  const std::string localizedDescription_;
};

}  // namespace PellixProvidersSDK::Bridge
