#pragma once

#include <cstdint>

namespace QuorvelCoreSDK {

/// To whom a request's progress is reported: nobody, so far.
enum class Reporter : std::uint8_t { none };

/// What may answer a request out of a store. There is none so far; requests are made without one.
class CachingDelegate;

}  // namespace QuorvelCoreSDK
