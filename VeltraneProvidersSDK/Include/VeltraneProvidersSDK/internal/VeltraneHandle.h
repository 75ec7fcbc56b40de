#pragma once

#include <PellixPlatform/internal/Bridge/Objects.h>
#include <VeltraneProvidersSDK/QVLVeltrane.h>
#include <VeltraneProvidersSDK/Veltrane.h>

template <>
struct PellixPlatform::Bridge::ClassBehind<QVLVeltrane> {
  using Type = VeltraneProvidersSDK::Veltrane;
};
