#pragma once

#include <PellixPlatform/internal/Bridge/Objects.h>
#include <QuorvelCoreSDK/Configuration.h>
#include <QuorvelCoreSDK/QVLQuorvelCore.h>

namespace QuorvelCoreSDK {

/// A configuration as an object, which is what hosts can hold.
class ConfigurationObject final : public PellixPlatform::Object {
 public:
  Configuration values;
};

}  // namespace QuorvelCoreSDK

template <>
struct PellixPlatform::Bridge::ClassBehind<QVLQuorvelConfiguration> {
  using Type = QuorvelCoreSDK::ConfigurationObject;
};
