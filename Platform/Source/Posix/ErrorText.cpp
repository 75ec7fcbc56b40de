#include "System.h"

#include <climits>
#include <cstring>

namespace PellixPlatform::System {

std::string_view errorText(std::int64_t number) {
  if (number < 1 || number > INT_MAX) return {};
  const char* const text = ::strerrordesc_np(static_cast<int>(number));
  return text ? std::string_view(text) : std::string_view();
}

}  // namespace PellixPlatform::System
