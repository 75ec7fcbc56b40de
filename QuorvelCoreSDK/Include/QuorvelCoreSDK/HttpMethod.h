#pragma once

#include <cstdint>

namespace QuorvelCoreSDK {

/// The method of a request (RFC 9110, section 9). Each of them carries a body if there is one.
enum class HttpMethod : std::uint8_t { get, post, put, delete_ };

}  // namespace QuorvelCoreSDK
