#include <VeltraneProvidersSDKTesting/ResetInstance.h>

#include "SharedInstance.h"

namespace VeltraneProvidersSDK::Testing {

void resetInstance() { setSharedInstance(nullptr); }

}  // namespace VeltraneProvidersSDK::Testing
