#include "Providers/Pipeline.h"

#include "LibraryVersion.h"
#include "PellixHeaders.h"
#include "Resources/EndpointsReader.h"

#include <PellixPlatform/internal/FormatTemplate.h>
#include <PellixProvidersSDK/PellixError.h>
#include <PellixProvidersSDK/ResourceBundle.h>
#include <QuorvelCoreSDK/CoreLogger.h>

#include <algorithm>
#include <utility>

namespace PellixProvidersSDK {

const char PellixErrorDomain[] = "com.pellix.providers";
const char PellixDisabledErrorDomain[] = "QV_Pellix_Disabled";

PellixPlatform::Error disabledError() {
  QuorvelCoreSDK::CoreLogger::warn("Pellix is disabled at account level.");
  return {PellixDisabledErrorDomain, PellixDisabledErrorCode};
}

const PellixEndpoint* findEndpoint(std::string_view name) {
  const auto* const reader = EndpointsReader::shared();
  if (!reader) return nullptr;
  const auto& endpoints = reader->endpoints();
  const auto found = std::ranges::find(endpoints, name, &PellixEndpoint::name);
  return found == endpoints.end() ? nullptr : &*found;
}

std::optional<QuorvelCoreSDK::ProviderService> makeProviderService(
    const QuorvelCoreSDK::Quorvel* quorvel, std::optional<PellixPlatform::Data> body,
    const PellixEndpoint& endpoint) {
  if (!quorvel) return std::nullopt;
  const auto& accountUrl = quorvel->accountDetails().accountUrl();
  auto address = PellixPlatform::formatTemplate(endpoint.urlString(), accountUrl);
  auto url = address ? PellixPlatform::URL::parse(*std::move(address)) : std::nullopt;
  if (!url) return std::nullopt;
  if (!body) return std::nullopt;
  return QuorvelCoreSDK::ProviderService({
      .environment = quorvel->accountDetails(),
      .urlComponent = *std::move(url),
      .requiresAuth = true,
      .httpMethod = endpoint.httpMethod(),
      .clientHeaders = std::make_shared<const PellixHeaders>(
          "Pellix", libraryVersion(resourceBundle()), std::map<std::string, std::string>()),
      .body = std::move(body),
      .dispatchQueue = &PellixPlatform::DispatchQueue::main(),
      .reporter = QuorvelCoreSDK::Reporter::none,
      .cachingDelegate = nullptr,
  });
}

std::optional<PellixPlatform::Error> errorFor(const PellixPlatform::URLResponse* response,
                                              std::optional<PellixPlatform::Error> error) {
  if (error) return error;
  const auto* http = dynamic_cast<const PellixPlatform::HTTPURLResponse*>(response);
  if (!http || http->isSuccess()) return std::nullopt;
  const int status = http->statusCode();
  PellixPlatform::Error::UserInfo info;
  info.emplace(PellixPlatform::NSLocalizedDescriptionKey,
               PellixPlatform::HTTPURLResponse::localizedStringForStatusCode(status));
  info.emplace("status_code", "HTTP Error: " + std::to_string(status));
  return PellixPlatform::Error(PellixErrorDomain, status, std::move(info));
}

}  // namespace PellixProvidersSDK
