#include "PellixHeaders.h"

#include <utility>

namespace PellixProvidersSDK {

PellixHeaders::PellixHeaders(std::string client, std::string version,
                             std::map<std::string, std::string> aditionalHeaders)
    : client_(std::move(client)),
      version_(std::move(version)),
      aditionalHeaders_(std::move(aditionalHeaders)) {}

PellixHeaders::~PellixHeaders() = default;

}  // namespace PellixProvidersSDK
