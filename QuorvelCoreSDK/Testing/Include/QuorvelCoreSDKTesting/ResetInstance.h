#pragma once

namespace QuorvelCoreSDK::Testing {

/// Takes away the shared core instance, as if the core had never been initialised.
void resetInstance();

}  // namespace QuorvelCoreSDK::Testing
