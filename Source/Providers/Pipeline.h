#pragma once

#include "PrintError.h"
#include "Resources/PellixEndpoint.h"

#include <PellixPlatform/Error.h>
#include <PellixPlatform/JSONEncoder.h>
#include <PellixPlatform/URLResponse.h>
#include <PellixProvidersSDK/PellixSettingsProvider.h>
#include <QuorvelCoreSDK/ProviderService.h>
#include <QuorvelCoreSDK/Quorvel.h>

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

/// The steps that all of the provider's operations share.
namespace PellixProvidersSDK {

/// Asks the settings whether the feature is enabled for the account. Without a core instance,
/// `next` never runs.
template <class Next>
void checkEnabled(Next next) {
  PellixSettingsProvider::getSettings(
      [next = std::move(next)](const std::shared_ptr<const PellixSettings>& settings) mutable {
        next(settings && settings->enabled());
      });
}

/// Logs that the feature is disabled, and makes the error that says so.
[[nodiscard, gnu::cold]] PellixPlatform::Error disabledError();

/// The first endpoint of that exact name, or null. It lives as long as the process.
[[nodiscard]] const PellixEndpoint* findEndpoint(std::string_view name);

/// A body's JSON. If it can't be encoded, prints why and gives nothing.
template <class Body>
[[nodiscard]] std::optional<PellixPlatform::Data> encodeBody(const Body& body) {
  auto encoded = PellixPlatform::JSONEncoder().encode(body);
  if (encoded) return *std::move(encoded);
  printError(encoded.error());
  return std::nullopt;
}

/// The request for an endpoint, or nothing: without a core instance, an address or a body.
[[nodiscard]] std::optional<QuorvelCoreSDK::ProviderService> makeProviderService(
    const QuorvelCoreSDK::Quorvel* quorvel, std::optional<PellixPlatform::Data> body,
    const PellixEndpoint& endpoint);

/// The error that a request's outcome amounts to, or nothing.
[[nodiscard]] std::optional<PellixPlatform::Error> errorFor(
    const PellixPlatform::URLResponse* response, std::optional<PellixPlatform::Error> error);

}  // namespace PellixProvidersSDK
