#include "Borrowed.h"
#include "DecodingFailure.h"
#include "JSONParser.h"
#include "OrdinaryReader.h"
#include "ParserCode.h"
#include "TreeReader.h"

#include <PellixPlatform/JSONDecoder.h>

#include <simdjson.h>

#include <algorithm>
#include <utility>

namespace PellixPlatform {
namespace {

/// Whether escapes make up much of a document, going by a sample. simdjson is good at much else,
/// but takes them one by one.
bool isFullOfEscapes(std::string_view data) {
  const auto step = data.size() / 16;
  if (step < 256) return false;
  std::ptrdiff_t backslashes = 0;
  for (; data.size() >= step; data.remove_prefix(step)) {
    backslashes += std::ranges::count(data.substr(0, 16), '\\');
  }
  return backslashes > 8;
}

/// Reads what is ordinary with the fast reader; whether it was.
template <class Make>
bool readOrdinary(std::string_view data, void* result, Make make) {
  // Not if empty, for simdjson would copy from a null pointer then.
  if (data.empty() || isFullOfEscapes(data)) return false;
  try {
    Borrowed<simdjson::dom::parser> parser;
    simdjson::dom::element root;
    if ((parser->capacity() == 0 && !ParserCode::give(*parser, data.size())) ||
        parser->parse(data.data(), data.size()).get(root)) {
      // If memory ran out for it, it would use what it lacks the next time.
      parser.discard();
      return false;
    }
    const OrdinaryReader reader;
    make(result, Decoder(reader, placeOf(root)));
    return true;
  } catch (const NotOrdinary&) {
    return false;  // whatever was made so far is gone; nothing has reached the result
  }
}

}  // namespace

std::optional<Error> JSONDecoder::read(std::string_view data, void* result, Make make) {
  if (readOrdinary(data, result, make)) return std::nullopt;
  try {
    const Borrowed<Tree> tree;
    *tree = parseJSON(data, std::move(*tree));
    const TreeReader reader(*tree);
    make(result, Decoder(reader, reader.root()));
    return std::nullopt;
  } catch (const DecodingFailure& failure) {
    return failure.error;
  }
}

}  // namespace PellixPlatform
