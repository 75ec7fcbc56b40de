#pragma once

#include <PellixPlatform/Decoder.h>
#include <QuorvelCoreSDK/HttpMethod.h>

#include <string>

namespace PellixProvidersSDK {

/// One operation's address template and method: an entry of the endpoint table. Immutable.
class PellixEndpoint {
 public:
  explicit PellixEndpoint(const PellixPlatform::Decoder& decoder);

  /// A template that takes the account's base address as its one argument.
  [[nodiscard]] const std::string& urlString() const { return fields_.urlString; }
  [[nodiscard]] const std::string& method() const { return fields_.method; }
  /// What the operation is looked up by.
  [[nodiscard]] const std::string& name() const { return fields_.name; }

  /// The method without regard to case; an unknown one is deliberately a GET.
  [[nodiscard]] QuorvelCoreSDK::HttpMethod httpMethod() const;

 private:
  struct Fields {
    std::string urlString;
    std::string method;
    std::string name;
  };
  struct Keys;

  Fields fields_;
};

}  // namespace PellixProvidersSDK
