#pragma once

#include <PellixPlatform/Export.h>

#include <memory>
#include <string>

namespace QuorvelCoreSDK {

class Session;

/// The account and the application that asks on its behalf: a value.
///
/// The details that a core instance hands out also know that instance's transport and token. The
/// token only ever goes to the origin of the address that the instance was set up with.
class PELLIX_EXPORT AccountDetails {
 public:
  AccountDetails(std::string accountUrl, std::string applicationId, std::string clientId);

  /// The account's base address. Those that a core instance hands out do not end in a slash.
  [[nodiscard]] const std::string& accountUrl() const { return accountUrl_; }
  /// The host's name for what it sets up, which is sent nowhere. The libraries above go by it:
  /// while it is the same, they stay as they were set up.
  [[nodiscard]] const std::string& applicationId() const { return applicationId_; }
  /// The host's name for what asks. It is sent nowhere, and nothing goes by it.
  [[nodiscard]] const std::string& clientId() const { return clientId_; }

 private:
  friend class Quorvel;
  friend class ProviderService;
  friend class CachedDocument;

  std::string accountUrl_;
  std::string applicationId_;
  std::string clientId_;
  std::shared_ptr<Session> session_;  // null unless handed out by a core instance
};

}  // namespace QuorvelCoreSDK
