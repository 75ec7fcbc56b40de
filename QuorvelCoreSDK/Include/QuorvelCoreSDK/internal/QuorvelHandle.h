#pragma once

#include <PellixPlatform/internal/Bridge/Objects.h>
#include <QuorvelCoreSDK/QVLQuorvelCore.h>
#include <QuorvelCoreSDK/Quorvel.h>

template <>
struct PellixPlatform::Bridge::ClassBehind<QVLQuorvel> {
  using Type = QuorvelCoreSDK::Quorvel;
};
