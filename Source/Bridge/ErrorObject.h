#pragma once

#include <PellixPlatform/Error.h>
#include <PellixPlatform/Object.h>

#include <string>
#include <utility>

namespace PellixProvidersSDK::Bridge {

/// An error value as an object, which is what hosts can hold.
class ErrorObject final : public PellixPlatform::Object {
 public:
  explicit ErrorObject(PellixPlatform::Error error)
      : error_(std::move(error)), localizedDescription_(error_.localizedDescription()) {}

  [[nodiscard]] const PellixPlatform::Error& error() const { return error_; }
  [[nodiscard]] const std::string& localizedDescription() const { return localizedDescription_; }

 private:
  const PellixPlatform::Error error_;
  const std::string localizedDescription_;
};

}  // namespace PellixProvidersSDK::Bridge
