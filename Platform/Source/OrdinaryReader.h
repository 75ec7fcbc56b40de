#pragma once

#include <PellixPlatform/Decoder.h>

#include <simdjson.h>

#include <bit>

namespace PellixPlatform {

/// A place of the fast reader is simdjson's own: an element and an iterator are both a document and
/// an index into it.
template <class T>
Cursor placeOf(T value) {
  return std::bit_cast<Cursor>(value);
}

/// Thrown at anything out of the ordinary; the authoritative reader decides then.
struct NotOrdinary {};

/// The fast reader. It accepts only what is ordinary and makes no errors.
class OrdinaryReader final : public DocumentReader {
  using element = simdjson::dom::element;
  using ArrayIterator = simdjson::dom::array::iterator;
  using ObjectIterator = simdjson::dom::object::iterator;

 public:
  [[nodiscard]] Cursor member(const Decoder& at, std::string_view key, Run& run) const override {
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
  [[nodiscard]] Cursor next(Cursor place) const override {
    return placeOf(++std::bit_cast<ArrayIterator>(place));
  }
  [[nodiscard]] std::int64_t integer(const Decoder& at) const override {
    return get<std::int64_t>(at);
  }
  [[nodiscard]] double real(const Decoder& at) const override {
    switch (std::bit_cast<element>(at.cursor()).type()) {
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
    if (std::bit_cast<element>(at.cursor()).get(value)) throw NotOrdinary{};
    return value;
  }
};

}  // namespace PellixPlatform
