#pragma once

#include <PellixPlatform/Export.h>

#include <functional>
#include <string_view>

namespace PellixPlatform {

/// `handler` gets the report of a mistake in the host's program, which goes to standard error too,
/// before the process aborts: for the host's own crash reports. It is called on the thread that
/// made the mistake, once in a process. It may end the process itself, but must not throw. An empty
/// function removes it. Thread safety: any thread.
PELLIX_EXPORT void setFatalErrorHandler(std::function<void(std::string_view report)> handler);

}  // namespace PellixPlatform
