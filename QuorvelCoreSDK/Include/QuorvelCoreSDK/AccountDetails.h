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

  // What is moved from shares the values like any copy, so that there always are some.
  AccountDetails(const AccountDetails&) noexcept = default;
  // NOLINTNEXTLINE(performance-move-constructor-init)
  AccountDetails(AccountDetails&& other) noexcept : values_(other.values_) {}
  AccountDetails& operator=(const AccountDetails&) noexcept = default;
  AccountDetails& operator=(AccountDetails&& other) noexcept { return *this = other; }
  ~AccountDetails() = default;

  /// The account's base address. Those that a core instance hands out do not end in a slash.
  [[nodiscard]] const std::string& accountUrl() const { return values_->accountUrl; }
  /// The host's name for what it sets up, which is sent nowhere. The libraries above go by it:
  /// while it is the same, they stay as they were set up.
  [[nodiscard]] const std::string& applicationId() const { return values_->applicationId; }
  /// The host's name for what asks. It is sent nowhere, and nothing goes by it.
  [[nodiscard]] const std::string& clientId() const { return values_->clientId; }

 private:
  friend class Quorvel;
  friend class ProviderService;
  friend class CachedDocument;

  struct Values {
    std::string accountUrl;
    std::string applicationId;
    std::string clientId;
    std::shared_ptr<Session> session;  // null unless handed out by a core instance
  };

  explicit AccountDetails(Values values);
  [[nodiscard]] const std::shared_ptr<Session>& session() const { return values_->session; }

  std::shared_ptr<const Values> values_;  // shared by all copies: every request takes one
};

}  // namespace QuorvelCoreSDK
