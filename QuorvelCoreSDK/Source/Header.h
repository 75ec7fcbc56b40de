#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace QuorvelCoreSDK {

/// Whether a text can be the name of a header field: RFC 9110, section 5.6.2.
[[nodiscard]] bool isHeaderName(std::string_view name);

/// Whether a value can't break out of its field: RFC 9110, section 5.5.
[[nodiscard]] bool isHeaderValue(std::string_view value);

[[nodiscard]] inline bool isHeader(const std::pair<std::string, std::string>& field) {
  return isHeaderName(field.first) && isHeaderValue(field.second);
}

}  // namespace QuorvelCoreSDK
