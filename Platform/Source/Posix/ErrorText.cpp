#include "System.h"

#include <cstring>
#include <utility>

namespace PellixPlatform::System {

std::string_view errorText(std::int64_t number) {
  const bool isOne = number != 0 && std::in_range<int>(number);
  const char* const text = isOne ? ::strerrordesc_np(static_cast<int>(number)) : nullptr;
  return text ? std::string_view(text) : std::string_view();
}

}  // namespace PellixPlatform::System
