#pragma once

#include <PellixPlatform/Export.h>

#include <cstdint>

namespace PellixProvidersSDK {

/// The domain of the errors for HTTP statuses outside 200..299; the code is the status. Their user
/// info holds the status's usual text as the localized description, and under "status_code" a text
/// such as "HTTP Error: 503": go by the code.
PELLIX_EXPORT extern const char PellixErrorDomain[];

/// The domain and the code of the error that says that the feature is disabled for the account. Its
/// user info is empty.
PELLIX_EXPORT extern const char PellixDisabledErrorDomain[];
inline constexpr std::int64_t PellixDisabledErrorCode = 1006;

}  // namespace PellixProvidersSDK
