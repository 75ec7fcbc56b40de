#pragma once

#include <string>
#include <utility>

namespace QuorvelCoreSDK {

/// Whether a name and a value can stand in a request as a header field of its own: RFC 9110,
/// section 5.
[[nodiscard]] bool isHeader(const std::pair<std::string, std::string>& field);

}  // namespace QuorvelCoreSDK
