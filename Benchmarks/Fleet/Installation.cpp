#include "Fleet/Installation.h"

#include "Models/RequestBodies.h"
#include "Providers/Pipeline.h"

#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/URLResponse.h>
#include <VeltraneProvidersSDK/LumenoSettings.h>
#include <VeltraneProvidersSDK/internal/ServicePaths.h>

#include <string>
#include <string_view>
#include <utility>

namespace Benchmarks::Fleet {
namespace {

using QuorvelCoreSDK::CachedDocument;
using Record = CachedDocument::Record;

constexpr CachedDocument::RecordType knowledgeSettingsType{
    .decode = [](std::string_view document) -> std::expected<Record, PellixPlatform::Error> {
      return PellixPlatform::JSONDecoder().decode<VeltraneProvidersSDK::LumenoSettings>(document);
    },
    .makeDefault = [] { return Record(); }};

}  // namespace

Settings::Settings(const PellixPlatform::Decoder& decoder)
    : isEnabled(decoder.nested("pellix").read<bool>("enabled")),
      version(decoder.read<std::int64_t>("version")) {}

Installation::Installation(std::shared_ptr<QuorvelCoreSDK::Transport> transport,
                           QuorvelCoreSDK::Surroundings surroundings)
    : quorvel_(makeQuorvel({"https://acme.example", "application", "client"},
                           {.token = [] { return "0123456789abcdef0123456789abcdef"; },
                            .transport = std::move(transport)},
                           std::move(surroundings))
                   .value()),
      knowledgeSettings_(CachedDocument::make(
          {.environment = quorvel_->accountDetails(),
           .path = std::string(VeltraneProvidersSDK::ServicePaths::knowledgeSettings),
           .name = "The knowledge base's settings",
           .withoutRecord = "there are none to use",
           .clientHeaders = QuorvelCoreSDK::makeClientHeaders("Veltrane", "1.0.0")})) {}

void Installation::ask(Ended ended) {
  knowledgeSettings_->get(
      knowledgeSettingsType, [self = shared_from_this(), ended = std::move(ended)](const Record&) {
        self->quorvel_->providerModule().settings()->getSettings<Settings>(
            [self, ended](const auto& settings) { self->send(ended, settings); });
      });
}

void Installation::send(Ended ended, const std::shared_ptr<const Settings>& settings) {
  using namespace PellixProvidersSDK;
  if (!settings->isEnabled) {
    ended(*settings, false);
    return;
  }
  const InteractionRequestBody body("A81BC81B-DEAD-4E5D-ABFF-90865D1E13B1",
                                    "I forgot my password. How do I get back in?", "en-us", {},
                                    std::nullopt);
  makeProviderService(quorvel_.get(), encodeBody(body), *findEndpoint("interaction"))
      ->perform([settings, ended = std::move(ended)](auto, const auto& response, auto error) {
        ended(*settings, !errorFor(response.get(), std::move(error)));
      });
}

}  // namespace Benchmarks::Fleet
