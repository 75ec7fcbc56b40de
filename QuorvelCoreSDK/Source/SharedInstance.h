#pragma once

#include <QuorvelCoreSDK/Quorvel.h>

namespace QuorvelCoreSDK {

/// Puts `instance` (null allowed) in the place that `Quorvel::instance` reads. For `initialize`,
/// and for tests that need to be without one.
void setSharedInstance(std::shared_ptr<Quorvel> instance);

}  // namespace QuorvelCoreSDK
