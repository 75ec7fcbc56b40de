#include <PellixProvidersSDK/PellixError.h>
#include <PellixProvidersSDK/QVLPellix.h>

const char QVLPellixDisabledErrorDomain[] = "QV_Pellix_Disabled";
const char QVLPellixErrorDomain[] = "com.pellix.providers";
const char QVLPellixErrorStatusCodeKey[] = "status_code";

static_assert(QVLPellixDisabledErrorCode == PellixProvidersSDK::PellixDisabledErrorCode);
