#pragma once

#include <PellixPlatform/URL.h>

namespace QuorvelCoreSDK {

/// Whether what goes to an address can't be read on the way: by https, or to this machine.
inline bool isSecure(const PellixPlatform::URL& url) {
  return url.scheme() == "https" || (url.scheme() == "http" && url.isLoopback());
}

}  // namespace QuorvelCoreSDK
