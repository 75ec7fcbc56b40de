#include <QuorvelCoreSDKTesting/ResetInstance.h>

#include "SharedInstance.h"

namespace QuorvelCoreSDK::Testing {

void resetInstance() { setSharedInstance(nullptr); }

}  // namespace QuorvelCoreSDK::Testing
