#pragma once

#include <string>

namespace Support {

/// A certificate and its key, in PEM.
struct LoopbackIdentity {
  std::string certificate;
  std::string key;
};

struct IdentityOptions {
  std::string names = "DNS:localhost,IP:127.0.0.1";  // what it is good for
  bool isExpired = false;
  const LoopbackIdentity* issuer = nullptr;  // null: issued by itself
};

/// Makes a fresh identity.
[[nodiscard]] LoopbackIdentity makeIdentity(const IdentityOptions& options);

}  // namespace Support
