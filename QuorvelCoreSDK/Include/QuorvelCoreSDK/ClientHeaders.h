#pragma once

#include <PellixPlatform/Export.h>

#include <map>
#include <memory>
#include <string>

namespace QuorvelCoreSDK {

/// Which client library makes a request. Sent as `X-Quorvel-Client`, `X-Quorvel-Client-Version` and
/// the additional headers.
///
/// Thread safety: read from any thread, so an implementation does not change once handed over.
class PELLIX_EXPORT ClientHeaders {
 public:
  virtual ~ClientHeaders();

  [[nodiscard]] virtual std::string client() const = 0;
  [[nodiscard]] virtual std::string version() const = 0;
  /// Spelled like this wherever the family's libraries meet.
  [[nodiscard]] virtual std::map<std::string, std::string> aditionalHeaders() const = 0;

 protected:
  ClientHeaders() = default;
  ClientHeaders(const ClientHeaders&) = default;
  ClientHeaders& operator=(const ClientHeaders&) = default;
};

/// Client headers that say just this. Never null.
[[nodiscard]] PELLIX_EXPORT std::shared_ptr<const ClientHeaders> makeClientHeaders(
    std::string client, std::string version,
    std::map<std::string, std::string> aditionalHeaders = {});

}  // namespace QuorvelCoreSDK
