#include "SharedInstance.h"

#include <QuorvelCoreSDKTesting/ResetInstance.h>

namespace QuorvelCoreSDK::Testing {

void resetInstance() {
  setSharedInstance(nullptr);
}

}  // namespace QuorvelCoreSDK::Testing
