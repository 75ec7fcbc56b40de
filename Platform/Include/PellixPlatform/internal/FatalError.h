#pragma once

#include <PellixPlatform/Export.h>

#include <string_view>

namespace PellixPlatform {

/// Stops the process because its program is wrong: writes `report` and a line feed to standard
/// error, calls the host's handler, then aborts. Never for a failure that a correct program can
/// meet.
[[noreturn]] PELLIX_EXPORT void fatalError(std::string_view report);

/// The report for a class that is not to be made by that initialiser.
[[noreturn]] PELLIX_EXPORT void fatalUnimplementedInitializer(std::string_view className,
                                                              std::string_view initializer);

}  // namespace PellixPlatform
