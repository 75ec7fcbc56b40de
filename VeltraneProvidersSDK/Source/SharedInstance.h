#pragma once

#include <VeltraneProvidersSDK/Veltrane.h>

namespace VeltraneProvidersSDK {

/// Puts `instance` (null allowed) in the place that `Veltrane::instance` reads. For `initialize`,
/// and for tests that need to be without one.
void setSharedInstance(std::shared_ptr<Veltrane> instance);

}  // namespace VeltraneProvidersSDK
