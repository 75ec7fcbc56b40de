#pragma once

namespace VeltraneProvidersSDK::Testing {

/// Takes away the shared instance, as if the library had never been initialised.
void resetInstance();

}  // namespace VeltraneProvidersSDK::Testing
