#pragma once

#include <QuorvelCoreSDK/ClientHeaders.h>

#include <memory>

namespace QuorvelCoreSDK {

/// How the core presents itself in requests of its own.
[[nodiscard]] std::shared_ptr<const ClientHeaders> coreHeaders();

}  // namespace QuorvelCoreSDK
