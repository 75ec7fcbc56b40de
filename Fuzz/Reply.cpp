// What the answer service replies to a question.

#include "JSON.h"

#include <PellixPlatform/JSONEncoder.h>
#include <PellixProvidersSDK/DeflectionResponse.h>

namespace {

using PellixProvidersSDK::DeflectionResponse;

std::string encoded(const DeflectionResponse& response) {
  auto json = PellixPlatform::JSONEncoder().encode(response);
  Fuzz::require(json.has_value(), "what was decoded can be encoded");
  return *std::move(json);
}

bool same(const DeflectionResponse& a, const DeflectionResponse& b) {
  return a.isEqual(&b) && encoded(a) == encoded(b);
}

bool isWellFormed(const Fuzz::Result<DeflectionResponse>& result) {
  return result || result.error().code() !=
                       std::to_underlying(PellixPlatform::DecodingErrorCode::dataCorrupted);
}

/// Whether everything in `part` stands in `whole` too.
bool covers(const nlohmann::json& whole, const nlohmann::json& part) {
  if (part.is_object()) {
    return std::ranges::all_of(part.items(), [&](const auto& item) {
      const auto* const value = Fuzz::member(&whole, item.key());
      return value && covers(*value, item.value());
    });
  }
  if (part.is_array()) {
    return whole.is_array() && std::ranges::equal(whole, part, covers);
  }
  // The other parser holds as a double what has a fraction or an exponent.
  if (part.is_number()) return whole.is_number() && whole.get<double>() == part.get<double>();
  return whole == part;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto json = Fuzz::textOf(data, size);
  const auto result = Fuzz::decode<DeflectionResponse>(json, same);
  const auto opinion = Fuzz::opinionOn(json);
  Fuzz::require(!opinion.isKnown || opinion.document.has_value() == isWellFormed(result),
                "what is JSON here is JSON elsewhere");
  if (!result) return 0;

  const auto again = encoded(**result);
  const auto second = Fuzz::decode<DeflectionResponse>(again, same);
  Fuzz::require(second && (*second)->isEqual(result->get()), "what was encoded is decoded again");
  Fuzz::require(!opinion.isKnown || covers(*opinion.document, nlohmann::json::parse(again)),
                "the record holds what the document says");
  return 0;
}
