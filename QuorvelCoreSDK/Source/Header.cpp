#include "Header.h"

#include <algorithm>
#include <array>

namespace QuorvelCoreSDK {
namespace {

constexpr auto isOfNames = [] {
  std::array<bool, 256> table{};
  for (const char c : std::string_view("!#$%&'*+-.^_`|~0123456789"
                                       "abcdefghijklmnopqrstuvwxyz"
                                       "ABCDEFGHIJKLMNOPQRSTUVWXYZ")) {
    table[static_cast<unsigned char>(c)] = true;
  }
  return table;
}();

bool isControl(unsigned char c) {
  return (c < 0x20 && c != '\t') || c == 0x7F;
}

}  // namespace

bool isHeaderName(std::string_view name) {
  return !name.empty() && std::ranges::all_of(name, [](unsigned char c) { return isOfNames[c]; });
}

bool isHeaderValue(std::string_view value) {
  return std::ranges::none_of(value, isControl);
}

}  // namespace QuorvelCoreSDK
