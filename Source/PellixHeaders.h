#pragma once

#include <QuorvelCoreSDK/ClientHeaders.h>

#include <map>
#include <string>

namespace PellixProvidersSDK {

/// How this library presents itself in its requests: a value.
class PellixHeaders final : public QuorvelCoreSDK::ClientHeaders {
 public:
  PellixHeaders(std::string client, std::string version,
                std::map<std::string, std::string> aditionalHeaders);
  ~PellixHeaders() override;

  [[nodiscard]] std::string client() const override { return client_; }
  [[nodiscard]] std::string version() const override { return version_; }
  [[nodiscard]] std::map<std::string, std::string> aditionalHeaders() const override {
    return aditionalHeaders_;
  }

 private:
  std::string client_;
  std::string version_;
  std::map<std::string, std::string> aditionalHeaders_;
};

}  // namespace PellixProvidersSDK
