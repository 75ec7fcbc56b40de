#include "Tree.h"
#include "UTF8.h"

#include <Platform/JSONDecoder.h>

#include <simdjson.h>

#include <atomic>
#include <bit>
#include <memory>

namespace Platform {
namespace {

using simdjson::dom::element;
using ArrayIterator = simdjson::dom::array::iterator;

// A place of the fast reader is simdjson's own: an element and an array's iterator are both a
// document and an index into it.
static_assert(sizeof(element) == sizeof(Place) && sizeof(ArrayIterator) == sizeof(Place));

Place placeOf(element value) {
  return std::bit_cast<Place>(value);
}
Place placeOf(ArrayIterator value) {
  return std::bit_cast<Place>(value);
}

/// Thrown at anything out of the ordinary; the authoritative reader decides then.
struct NotOrdinary {};

/// The fast reader. It accepts only what is ordinary and makes no errors.
class OrdinaryReader final : public DocumentReader {
 public:
  [[nodiscard]] Place member(const Decoder& at, std::string_view key) const override {
    element value;
    if (get<simdjson::dom::object>(at).at_key(key).get(value)) throw NotOrdinary{};
    return placeOf(value);
  }
  [[nodiscard]] Elements elements(const Decoder& at) const override {
    const auto array = get<simdjson::dom::array>(at);
    return {placeOf(array.begin()), placeOf(array.end()), array.size()};
  }
  [[nodiscard]] Place next(Place place) const override {
    return placeOf(++std::bit_cast<ArrayIterator>(place));
  }
  [[nodiscard]] std::int64_t integer(const Decoder& at) const override {
    return get<std::int64_t>(at);
  }
  [[nodiscard]] double real(const Decoder& at) const override {
    switch (std::bit_cast<element>(at.place()).type()) {
      case simdjson::dom::element_type::DOUBLE:
        return get<double>(at);
      case simdjson::dom::element_type::INT64:
        return static_cast<double>(get<std::int64_t>(at));
      default:
        throw NotOrdinary{};
    }
  }
  [[nodiscard]] bool boolean(const Decoder& at) const override { return get<bool>(at); }
  [[nodiscard]] std::string string(const Decoder& at) const override {
    return std::string(get<std::string_view>(at));
  }

 private:
  template <class T>
  static T get(const Decoder& at) {
    T value;
    if (std::bit_cast<element>(at.place()).get(value)) throw NotOrdinary{};
    return value;
  }
};

/// A parser for the time of one decoding. A fresh one costs as much as some decodings do, so one
/// waits here for whoever comes next, unless its buffers have grown beyond what is worth keeping.
class BorrowedParser {
 public:
  BorrowedParser() : parser_(spare.exchange(nullptr)) {
    if (parser_) return;
    prepareSimdjson();
    parser_ = std::make_unique<simdjson::dom::parser>();
  }
  BorrowedParser(const BorrowedParser&) = delete;
  BorrowedParser& operator=(const BorrowedParser&) = delete;
  ~BorrowedParser() {
    constexpr std::size_t worthKeeping = std::size_t{1} << 20;  // bytes of document
    if (isWhole_ && parser_->capacity() <= worthKeeping)
      parser_.reset(spare.exchange(parser_.release()));
  }

  /// The top of a document, unless it is not ordinary.
  [[nodiscard]] std::optional<element> parse(std::string_view data) {
    element root;
    // Not if empty, for simdjson would copy from a null pointer then.
    if (data.empty()) return std::nullopt;
    const auto failure = parser_->parse(data.data(), data.size()).get(root);
    isWhole_ = failure != simdjson::MEMALLOC;  // else it would use what it lacks the next time
    return failure ? std::nullopt : std::optional(root);
  }

 private:
  static constinit std::atomic<simdjson::dom::parser*> spare;
  std::unique_ptr<simdjson::dom::parser> parser_;
  bool isWhole_ = true;
};

constinit std::atomic<simdjson::dom::parser*> BorrowedParser::spare{nullptr};

}  // namespace

std::optional<Error> JSONDecoder::read(std::string_view data, void* result, Make make) {
  try {
    BorrowedParser parser;
    if (const auto root = parser.parse(data)) {
      const OrdinaryReader reader;
      make(result, Decoder(reader, placeOf(*root)));
      return std::nullopt;
    }
  } catch (const NotOrdinary&) {
    // Whatever was made so far is gone; nothing has reached the result.
  }
  try {
    const Tree tree = parseJSON(data);
    const TreeReader reader(tree);
    make(result, Decoder(reader, reader.root()));
    return std::nullopt;
  } catch (const DecodingFailure& failure) {
    return failure.error;
  }
}

}  // namespace Platform
