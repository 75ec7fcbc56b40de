#include "KnowledgeBase.h"

#include <PellixPlatform/JSONDecoder.h>
#include <QuorvelCoreSDK/internal/CachedDocument.h>
#include <VeltraneProvidersSDK/QVLLumenoSettingsProvider.h>
#include <VeltraneProvidersSDK/Veltrane.h>

#include <utility>

namespace VeltraneProvidersSDK {
namespace {

using QuorvelCoreSDK::CachedDocument;
using Record = CachedDocument::Record;

constexpr CachedDocument::RecordType settingsType{
    .decode = [](std::string_view document) -> std::expected<Record, PellixPlatform::Error> {
      return PellixPlatform::JSONDecoder().decode<LumenoSettings>(document);
    },
    .makeDefault = [] { return Record(); }};

}  // namespace

void QVLLumenoSettingsProvider::getLumenoSettings(
    std::function<void(std::shared_ptr<const LumenoSettings>)> callback) {
  // Each in a statement of its own, so that nothing is left of the callback here when it is called.
  CachedDocument::Callback answer = [callback = std::exchange(callback, nullptr)](Record record) {
    if (callback) callback(std::static_pointer_cast<const LumenoSettings>(std::move(record)));
  };
  std::function<void()> task;
  if (const auto veltrane = Veltrane::instance()) {
    // Posted, so that what follows runs where the next request starts, and never within this call.
    task = [answer = std::move(answer), document = veltrane->lumenoSettings()]() mutable {
      document->get(settingsType, std::exchange(answer, nullptr));
    };
  } else {
    task = [answer = std::move(answer)] { answer(nullptr); };
  }
  postWithoutRequest(std::move(task));
}

}  // namespace VeltraneProvidersSDK
