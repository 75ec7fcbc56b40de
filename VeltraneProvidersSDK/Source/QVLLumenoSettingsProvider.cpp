#include "KnowledgeBase.h"

#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/internal/Once.h>
#include <QuorvelCoreSDK/CachedDocument.h>
#include <QuorvelCoreSDK/CoreLogger.h>
#include <VeltraneProvidersSDK/QVLLumenoSettingsProvider.h>
#include <VeltraneProvidersSDK/Veltrane.h>

namespace VeltraneProvidersSDK {
namespace {

using QuorvelCoreSDK::CachedDocument;
using QuorvelCoreSDK::CoreLogger;

std::shared_ptr<const LumenoSettings> settingsIn(const CachedDocument::Document& document) {
  if (!document) return nullptr;
  auto settings = PellixPlatform::JSONDecoder().decode<LumenoSettings>(*document);
  if (settings) return *std::move(settings);
  CoreLogger::warn("The knowledge base's settings could not be used. " +
                   settings.error().description());
  return nullptr;
}

}  // namespace

void QVLLumenoSettingsProvider::getLumenoSettings(
    std::function<void(std::shared_ptr<const LumenoSettings>)> callback) {
  const PellixPlatform::Once call(std::move(callback));
  if (const auto veltrane = Veltrane::instance()) {
    veltrane->lumenoSettings().get(
        [call](const CachedDocument::Document& document) { call(settingsIn(document)); });
  } else {
    postWithoutRequest([call] { call(nullptr); });
  }
}

}  // namespace VeltraneProvidersSDK
