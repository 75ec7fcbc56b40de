#pragma once

#include <PellixPlatform/Export.h>

#ifdef __cplusplus
extern "C" {
#endif

/// The library's version as plain data, fixed at build time. What requests carry is the version in
/// the library's resources instead.
PELLIX_EXPORT extern const double PellixProvidersSDKVersionNumber;

/// The same as a text that ends in a line feed and a zero.
PELLIX_EXPORT extern const unsigned char PellixProvidersSDKVersionString[];

#ifdef __cplusplus
}
#endif
