#include "Resources/PellixEndpoint.h"

#include <algorithm>
#include <string_view>

namespace PellixProvidersSDK {

using PellixPlatform::Key;
using QuorvelCoreSDK::HttpMethod;

struct PellixEndpoint::Keys {
  static constexpr std::tuple table{
      Key{"urlString", &Fields::urlString},
      Key{"method", &Fields::method},
      Key{"name", &Fields::name},
  };
};

PellixEndpoint::PellixEndpoint(const PellixPlatform::Decoder& decoder)
    : fields_(decoder.decode(Keys::table)) {}

HttpMethod PellixEndpoint::httpMethod() const {
  const auto is = [this](std::string_view name) {
    // This bit makes a small letter of itself and of its capital alone.
    constexpr auto small = [](char c) { return static_cast<char>(c | 0x20); };
    return std::ranges::equal(fields_.method, name, {}, small);
  };
  if (is("post")) return HttpMethod::post;
  if (is("delete")) return HttpMethod::delete_;
  if (is("put")) return HttpMethod::put;
  return HttpMethod::get;  // whatever else it says
}

}  // namespace PellixProvidersSDK
