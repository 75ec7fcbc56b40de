#include <Platform/DispatchQueue.h>
#include <Platform/JSONDecoder.h>
#include <QuorvelCoreSDK/CoreLogger.h>
#include <QuorvelCoreSDK/KeptDocument.h>
#include <VeltraneProvidersSDK/QVLLumenoSettingsProvider.h>
#include <VeltraneProvidersSDK/Veltrane.h>

#include <utility>

namespace VeltraneProvidersSDK {
namespace {

using QuorvelCoreSDK::CoreLogger;
using QuorvelCoreSDK::KeptDocument;

std::shared_ptr<const LumenoSettings> settingsIn(const KeptDocument::Document& document) {
  if (!document) return nullptr;
  auto settings = Platform::JSONDecoder().decode<LumenoSettings>(*document);
  if (settings) return *std::move(settings);
  CoreLogger::warn("The knowledge base's settings could not be used. " +
                   settings.error().description());
  return nullptr;
}

}  // namespace

void QVLLumenoSettingsProvider::getLumenoSettings(
    std::function<void(std::shared_ptr<const LumenoSettings>)> callback) {
  if (const auto veltrane = Veltrane::instance()) {
    veltrane->lumenoSettings().get(
        [callback = std::move(callback)](const KeptDocument::Document& document) {
          callback(settingsIn(document));
        });
    return;
  }
  auto answerNothing = [callback = std::move(callback)] { callback(nullptr); };
  if (const auto quorvel = QuorvelCoreSDK::Quorvel::instance()) {
    quorvel->post(std::move(answerNothing));
  } else {
    Platform::DispatchQueue::main().post(std::move(answerNothing));
  }
}

}  // namespace VeltraneProvidersSDK
