#include "KnowledgeBase.h"

#include <QuorvelCoreSDK/ProviderService.h>
#include <VeltraneProvidersSDK/Veltrane.h>

#include <utility>

namespace VeltraneProvidersSDK {

const char VeltraneErrorDomain[] = "com.veltrane.providers";

namespace {

Reply replyOf(std::optional<PellixPlatform::Data> data, const PellixPlatform::URLResponse* response,
              std::optional<PellixPlatform::Error> error) {
  if (error) return std::unexpected(*std::move(error));
  const auto* http = dynamic_cast<const PellixPlatform::HTTPURLResponse*>(response);
  if (!http || !http->isSuccess()) {
    const int status = http ? http->statusCode() : 0;
    return std::unexpected(makeVeltraneError(
        VeltraneErrorCode::refused,
        "The knowledge base answered with status " + std::to_string(status) + " " +
            PellixPlatform::HTTPURLResponse::localizedStringForStatusCode(status) + "."));
  }
  return std::move(data).value_or(PellixPlatform::Data());
}

}  // namespace

std::shared_ptr<const QuorvelCoreSDK::ClientHeaders> veltraneHeaders() {
  return QuorvelCoreSDK::makeClientHeaders("Veltrane", VELTRANE_VERSION);
}

PellixPlatform::Error makeVeltraneError(VeltraneErrorCode code, std::string text) {
  return PellixPlatform::Error::described(VeltraneErrorDomain, std::to_underlying(code),
                                          std::move(text));
}

void postWithoutRequest(std::function<void()> task) {
  const auto veltrane = Veltrane::instance();
  const auto quorvel = veltrane ? veltrane->quorvel() : QuorvelCoreSDK::Quorvel::instance();
  if (quorvel) {
    quorvel->post(std::move(task));
  } else {
    // Nowhere to, and on the main queue, where `Quorvel::shutDown` finds it.
    QuorvelCoreSDK::ProviderService(
        {.environment = {"", "", ""},
         .urlComponent = PellixPlatform::URL::parse("https://account.invalid").value()})
        .perform([task = std::move(task)](auto&&...) { task(); });
  }
}

void postToKnowledgeBase(std::string_view path, std::function<void(Reply)> callback) {
  const auto veltrane = Veltrane::instance();
  if (!veltrane) {
    postWithoutRequest([callback = std::move(callback)] {
      callback(std::unexpected(makeVeltraneError(VeltraneErrorCode::notInitialized,
                                                 "The knowledge base is not set up.")));
    });
    return;
  }
  const auto& account = veltrane->quorvel()->accountDetails();
  const QuorvelCoreSDK::ProviderService service(
      {.environment = account,
       .urlComponent = PellixPlatform::URL::parse(account.accountUrl() + std::string(path)).value(),
       .requiresAuth = true,
       .httpMethod = QuorvelCoreSDK::HttpMethod::post,
       .clientHeaders = veltraneHeaders()});
  service.perform([callback = std::move(callback)](auto data, const auto& response, auto error) {
    callback(replyOf(std::move(data), response.get(), std::move(error)));
  });
}

}  // namespace VeltraneProvidersSDK
