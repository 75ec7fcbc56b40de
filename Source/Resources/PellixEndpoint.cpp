#include "Resources/PellixEndpoint.h"

#include <algorithm>

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
  std::string lowerCase = fields_.method;
  std::ranges::transform(lowerCase, lowerCase.begin(), [](char c) {
    return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  if (lowerCase == "get") return HttpMethod::get;
  if (lowerCase == "post") return HttpMethod::post;
  if (lowerCase == "delete") return HttpMethod::delete_;
  if (lowerCase == "put") return HttpMethod::put;
  return HttpMethod::get;
}

}  // namespace PellixProvidersSDK
