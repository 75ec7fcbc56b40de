#pragma once

#include <PellixPlatform/Bundle.h>

namespace PellixProvidersSDK {

/// The library's own resources, which it carries: the endpoint table, `Endpoints.plist`, and the
/// information dictionary, `Info.plist`, with the version that requests carry. The bundle is never
/// destroyed. Thread safety: any thread.
[[nodiscard]] PELLIX_EXPORT const PellixPlatform::Bundle& resourceBundle();

}  // namespace PellixProvidersSDK
