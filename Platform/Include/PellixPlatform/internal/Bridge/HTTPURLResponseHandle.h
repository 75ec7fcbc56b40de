#pragma once

#include <PellixPlatform/URLResponse.h>
#include <PellixPlatform/internal/Bridge/Objects.h>

namespace PellixPlatform::Bridge {

template <>
struct ClassBehind<QVLHTTPURLResponse> {
  using Type = const HTTPURLResponse;
};

}  // namespace PellixPlatform::Bridge
