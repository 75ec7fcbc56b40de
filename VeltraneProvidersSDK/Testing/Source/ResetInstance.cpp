#include "SharedInstance.h"

#include <VeltraneProvidersSDKTesting/ResetInstance.h>

namespace VeltraneProvidersSDK::Testing {

void resetInstance() {
  setSharedInstance(nullptr);
}

}  // namespace VeltraneProvidersSDK::Testing
