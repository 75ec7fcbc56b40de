#pragma once

namespace PellixProvidersSDK {

/// An empty class that keeps its name in the library's namespace. Nothing uses it.
class Constants {};

}  // namespace PellixProvidersSDK
