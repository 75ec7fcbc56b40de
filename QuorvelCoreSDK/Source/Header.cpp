#include "Header.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace QuorvelCoreSDK {
namespace {

/// RFC 9110, section 5.6.2.
constexpr auto isOfNames = [] {
  std::array<bool, 256> table{};
  for (const char c : std::string_view("!#$%&'*+-.^_`|~0123456789"
                                       "abcdefghijklmnopqrstuvwxyz"
                                       "ABCDEFGHIJKLMNOPQRSTUVWXYZ")) {
    table[static_cast<unsigned char>(c)] = true;
  }
  return table;
}();

/// RFC 9110, section 5.5.
bool isControl(unsigned char c) {
  return (c < 0x20 && c != '\t') || c == 0x7F;
}

}  // namespace

bool isHeader(const std::pair<std::string, std::string>& field) {
  const auto& [name, value] = field;
  return !name.empty() && std::ranges::all_of(name, [](unsigned char c) { return isOfNames[c]; }) &&
         std::ranges::none_of(value, isControl);
}

}  // namespace QuorvelCoreSDK
