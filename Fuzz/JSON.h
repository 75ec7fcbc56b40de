#pragma once

#include "Fuzz.h"
#include "JSONParser.h"
#include "TreeReader.h"

#include <PellixPlatform/JSONDecoder.h>

#include <nlohmann/json.hpp>

#include <map>
#include <set>

namespace Fuzz {

template <class Record>
using Result = std::expected<std::shared_ptr<const Record>, PellixPlatform::Error>;

/// Decodes as hosts do, and holds that against the authoritative reader alone.
template <class Record, class Same>
Result<Record> decode(std::string_view json, Same same) {
  auto result = PellixPlatform::JSONDecoder().decode<Record>(json);
  try {
    const auto tree = PellixPlatform::parseJSON(json);
    const PellixPlatform::TreeReader reader(tree);
    const Record judged(PellixPlatform::Decoder(reader, reader.root()));
    require(result && same(**result, judged), "both readers read the same");
  } catch (const PellixPlatform::DecodingFailure& failure) {
    require(!result && result.error() == failure.error, "both readers accept, or neither");
  }
  return result;
}

/// What another parser makes of a document.
struct Opinion {
  bool isKnown = true;
  std::optional<nlohmann::json> document;  // nothing if it is malformed
};

inline Opinion opinionOn(std::string_view json) {
  // It takes a NUL for the end of the document. In JSON, there is none anywhere.
  if (json.find('\0') != json.npos) return {};
  // By depth: it does not tell of the end of an object under a key that it was told to leave out.
  std::map<int, std::set<std::string>> keys;
  const auto firstOfEachKey = [&](int depth, auto event, auto& value) {
    using Event = decltype(event);
    if (event == Event::object_start) keys[depth + 1].clear();
    return event != Event::key || keys[depth].insert(value).second;
  };
  try {
    return {.document = nlohmann::json::parse(json.begin(), json.end(), firstOfEachKey)};
  } catch (const nlohmann::json::out_of_range&) {
    return {.isKnown = false};  // it stops at numbers beyond a double, which are no error here
  } catch (const nlohmann::json::parse_error&) {
    return {};
  }
}

/// The value of a key, or null if there is none, nor an object.
inline const nlohmann::json* member(const nlohmann::json* value, const std::string& key) {
  if (!value || !value->is_object()) return nullptr;
  const auto found = value->find(key);
  return found == value->end() ? nullptr : &*found;
}

}  // namespace Fuzz
