// The account's settings document, and the knowledge base's.

#include "JSON.h"

#include <PellixProvidersSDK/PellixSettings.h>
#include <VeltraneProvidersSDK/LumenoSettings.h>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto json = Fuzz::textOf(data, size);
  const auto pellix = Fuzz::decode<PellixProvidersSDK::PellixSettings>(
      json, [](const auto& a, const auto& b) { return a.enabled() == b.enabled(); });
  const auto lumeno = Fuzz::decode<VeltraneProvidersSDK::LumenoSettings>(
      json, [](const auto& a, const auto& b) { return a.locale() == b.locale(); });

  const auto opinion = Fuzz::opinionOn(json);
  if (!opinion.isKnown) return 0;
  const auto* const document = opinion.document ? &*opinion.document : nullptr;
  const auto* const enabled = Fuzz::member(Fuzz::member(document, "pellix"), "enabled");
  Fuzz::require(
      pellix ? enabled && *enabled == (*pellix)->enabled() : !enabled || !enabled->is_boolean(),
      "the feature is enabled exactly if the document says so");
  const auto* const locale = Fuzz::member(document, "locale");
  Fuzz::require(lumeno ? locale && *locale == (*lumeno)->locale() : !locale || !locale->is_string(),
                "the locale is the document's");
  return 0;
}
