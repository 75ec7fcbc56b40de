#pragma once

#include <PellixPlatform/internal/Bridge/Objects.h>
#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <PellixProvidersSDK/QVLPellix.h>

/// The classes behind this library's names.
namespace PellixPlatform::Bridge {

template <>
struct ClassBehind<QVLPellix> {
  using Type = const PellixProvidersSDK::Pellix;
};
template <>
struct ClassBehind<QVLPellixProvider> {
  using Type = PellixProvidersSDK::PellixProvider;
};
template <>
struct ClassBehind<QVLPellixSettings> {
  using Type = const PellixProvidersSDK::PellixSettings;
};
template <>
struct ClassBehind<QVLDeflection> {
  using Type = const PellixProvidersSDK::Deflection;
};
template <>
struct ClassBehind<QVLDeflectionArticle> {
  using Type = const PellixProvidersSDK::DeflectionArticle;
};
template <>
struct ClassBehind<QVLDeflectionResponse> {
  using Type = const PellixProvidersSDK::DeflectionResponse;
};
template <>
struct ClassBehind<QVLPellixDispatcherResponse> {
  using Type = const PellixProvidersSDK::PellixDispatcherResponse;
};

}  // namespace PellixPlatform::Bridge
