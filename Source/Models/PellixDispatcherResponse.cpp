#include <PellixProvidersSDK/PellixDispatcherResponse.h>

#include <utility>

namespace PellixProvidersSDK {

PellixDispatcherResponse::PellixDispatcherResponse(
    std::shared_ptr<const PellixPlatform::HTTPURLResponse> response,
    std::optional<PellixPlatform::Data> data)
    : fields_{.response = std::move(response), .data = std::move(data)} {}

PellixDispatcherResponse::~PellixDispatcherResponse() = default;

bool PellixDispatcherResponse::isEqual(const PellixPlatform::Object* other) const {
  const auto* that = dynamic_cast<const PellixDispatcherResponse*>(other);
  return that && fields_.response->isEqual(that->fields_.response.get()) &&
         fields_.data == that->fields_.data;
}

}  // namespace PellixProvidersSDK
