#include "KnowledgeBase.h"

#include <Platform/JSONDecoder.h>
#include <QuorvelCoreSDK/CoreLogger.h>
#include <QuorvelCoreSDK/KeptDocument.h>
#include <QuorvelCoreSDK/OneCall.h>
#include <VeltraneProvidersSDK/QVLLumenoSettingsProvider.h>
#include <VeltraneProvidersSDK/Veltrane.h>

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
  const QuorvelCoreSDK::OneCall call(callback);
  if (const auto veltrane = Veltrane::instance()) {
    veltrane->lumenoSettings().get(
        [call](const KeptDocument::Document& document) { call(settingsIn(document)); });
  } else {
    postWithoutRequest([call] { call(nullptr); });
  }
}

}  // namespace VeltraneProvidersSDK
