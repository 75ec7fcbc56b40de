#include "DecodingFailure.h"

namespace PellixPlatform {

const char DecodingErrorDomain[] = "Platform.DecodingError";

void fail(DecodingErrorCode code, std::string text, const std::string& path, Position where,
          Found types) {
  text += " (line " + std::to_string(where.line) + ", byte " + std::to_string(where.byte) + ").";
  Error::UserInfo info;
  info.emplace(NSLocalizedDescriptionKey, std::move(text));
  info.emplace("line", std::int64_t{where.line});
  info.emplace("byte", std::int64_t{where.byte});
  if (!path.empty()) info.emplace("codingPath", path);
  if (!types.expected.empty()) info.emplace("expected", std::string(types.expected));
  if (!types.found.empty()) info.emplace("found", std::string(types.found));
  throw DecodingFailure(Error(DecodingErrorDomain, std::to_underlying(code), std::move(info)));
}

void failAsCorrupted(std::string_view what, Position where) {
  fail(DecodingErrorCode::dataCorrupted, "Data corrupted: " + std::string(what), {}, where);
}

}  // namespace PellixPlatform
