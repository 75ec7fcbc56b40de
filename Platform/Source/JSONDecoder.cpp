#include "Tree.h"

#include <Platform/JSONDecoder.h>

#include <simdjson.h>

#include <atomic>
#include <bit>
#include <memory>

namespace Platform {
namespace {

using simdjson::dom::element;
using ArrayIterator = simdjson::dom::array::iterator;
using ObjectIterator = simdjson::dom::object::iterator;

/// A place of the fast reader is simdjson's own: an element and an iterator are both a document and
/// an index into it.
template <class T>
Place placeOf(T value) {
  return std::bit_cast<Place>(value);
}

/// Thrown at anything out of the ordinary; the authoritative reader decides then.
struct NotOrdinary {};

/// The fast reader. It accepts only what is ordinary and makes no errors.
class OrdinaryReader final : public DocumentReader {
 public:
  [[nodiscard]] Place member(const Decoder& at, std::string_view key, Run& run) const override {
    const auto object = get<simdjson::dom::object>(at);
    if (run.isInOrder) {
      auto entry = run.next.document ? std::bit_cast<ObjectIterator>(run.next) : object.begin();
      run.isInOrder = entry != object.end() && entry.key_equals(key);
      if (run.isInOrder) {
        const auto value = entry.value();
        run.next = placeOf(++entry);
        return placeOf(value);
      }
    }
    element value;
    if (object.at_key(key).get(value)) throw NotOrdinary{};
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
    if (!parser_) parser_ = std::make_unique<simdjson::dom::parser>();
  }
  BorrowedParser(const BorrowedParser&) = delete;
  BorrowedParser& operator=(const BorrowedParser&) = delete;
  ~BorrowedParser() {
    constexpr std::size_t worthKeeping = std::size_t{1} << 20;  // bytes of document
    if (parser_->capacity() <= worthKeeping) parser_.reset(spare.exchange(parser_.release()));
  }
  simdjson::dom::parser* operator->() const { return parser_.get(); }

 private:
  static constinit std::atomic<simdjson::dom::parser*> spare;
  std::unique_ptr<simdjson::dom::parser> parser_;
};

constinit std::atomic<simdjson::dom::parser*> BorrowedParser::spare{nullptr};

}  // namespace

std::optional<Error> JSONDecoder::read(std::string_view data, void* result, Make make) {
  try {
    const BorrowedParser parser;
    element root;
    // Not if empty, for simdjson would copy from a null pointer then.
    if (!data.empty() && !parser->parse(data.data(), data.size()).get(root)) {
      const OrdinaryReader reader;
      make(result, Decoder(reader, placeOf(root)));
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
