#include "Borrowed.h"
#include "DecodingFailure.h"
#include "JSONParser.h"
#include "JSONText.h"
#include "OrdinaryReader.h"
#include "ParserCode.h"
#include "TreeReader.h"

#include <PellixPlatform/JSONDecoder.h>

#include <simdjson.h>

#include <cstring>
#include <utility>

namespace PellixPlatform {
namespace {

/// Whether escapes make up much of a document, going by a sample. simdjson is good at much else,
/// but takes them one by one.
bool isFullOfEscapes(std::string_view data) {
  using JSONText::Block;
  constexpr std::size_t samples = 16;  // blocks
  const auto step = data.size() / samples;
  if (step < 16 * sizeof(Block)) return false;
  Block found{};
  for (std::size_t i = 0; i < samples; ++i) {
    Block block;
    std::memcpy(&block, data.data() + i * step, sizeof block);
    found += (block == '\\') & 1;
  }
  unsigned backslashes = 0;
  for (std::size_t i = 0; i < sizeof found; ++i) backslashes += found[i];
  return backslashes > samples * sizeof(Block) / 32;
}

/// Reads what is ordinary with the fast reader; whether it was.
template <class Make>
bool readOrdinary(std::string_view data, void* result, Make make) {
  // Not if empty, for simdjson would copy from a null pointer then.
  if (data.empty() || isFullOfEscapes(data)) return false;
  try {
    Borrowed<simdjson::dom::parser> parser;
    if (parser->capacity() == 0 && !ParserCode::give(*parser, data.size())) {
      parser.discard();
      return false;
    }
    simdjson::dom::element root;
    if (const auto failure = parser->parse(data.data(), data.size()).get(root)) {
      // A parser that memory ran out for would use what it lacks the next time.
      if (failure == simdjson::MEMALLOC) parser.discard();
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
