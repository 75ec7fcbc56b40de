#pragma once

#include <PellixPlatform/Export.h>

namespace PellixPlatform {

/// The domain of the errors of reading files; their code is the `errno` of the call that failed.
PELLIX_EXPORT extern const char FileErrorDomain[];

}  // namespace PellixPlatform
