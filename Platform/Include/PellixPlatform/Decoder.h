#pragma once

#include <PellixPlatform/Coding.h>
#include <PellixPlatform/DocumentReader.h>
#include <PellixPlatform/Error.h>
#include <PellixPlatform/Export.h>
#include <PellixPlatform/Object.h>

#include <expected>
#include <type_traits>

namespace PellixPlatform {

/// What a record is decoded from: one value of a document. It is handed to the record's decoding
/// constructor and borrowed for its duration. A read that fails throws out of that constructor, so
/// that no partly filled record is ever seen; the decoder that was asked turns it into an `Error`.
///
/// A record that may hold records of its own class takes as much of the stack as a document is
/// deep, and has to bound that by itself, if others write the document.
class PELLIX_EXPORT Decoder {
 public:
  Decoder(const DocumentReader& reader, Cursor root) : reader_(&reader), cursor_(root) {}

  /// Reads every field of a key table, in its order. Each key is required.
  template <class Fields, class... Members>
  [[nodiscard]] Fields decode(const std::tuple<Key<Fields, Members>...>& keys) const {
    Fields fields{};
    DocumentReader::Run run;
    std::apply(
        [&](const auto&... key) {
          ((fields.*key.member =
                nested(key.name, run)
                    .template value<std::remove_reference_t<decltype(fields.*key.member)>>()),
           ...);
        },
        keys);
    return fields;
  }

  /// Reads the value of a required key of this object.
  template <class T>
  [[nodiscard]] T read(std::string_view key) const {
    return nested(key).value<T>();
  }

  /// The value of a required key of this object. It refers to this decoder.
  [[nodiscard]] Decoder nested(std::string_view key) const {
    DocumentReader::Run run;
    return nested(key, run);
  }

  /// Reads this value: a number, a boolean, a text, a list, or a record with a decoding
  /// constructor.
  template <class T>
  [[nodiscard]] T value() const {
    return Reading<T>::value(*this);
  }

  [[nodiscard]] Cursor cursor() const { return cursor_; }

  /// How to get here from the top of the document, as in `articles[1].title`; empty at the top.
  [[nodiscard, gnu::cold]] std::string codingPath() const;

 private:
  template <class T>
  struct Reading {
    static T value(const Decoder& at) { return T(at); }
  };

  [[nodiscard]] Decoder nested(std::string_view key, DocumentReader::Run& run) const {
    return {*this, reader_->member(*this, key, run), key, 0};
  }

  Decoder(const Decoder& parent, Cursor place, std::string_view key, std::size_t index)
      : reader_(parent.reader_), cursor_(place), parent_(&parent), key_(key), index_(index) {}

  const DocumentReader* reader_;
  Cursor cursor_;
  const Decoder* parent_ = nullptr;
  std::string_view key_;  // empty data: an element of a list
  std::size_t index_ = 0;
};

template <>
struct Decoder::Reading<std::int64_t> {
  static std::int64_t value(const Decoder& at) { return at.reader_->integer(at); }
};

template <>
struct Decoder::Reading<double> {
  static double value(const Decoder& at) { return at.reader_->real(at); }
};

template <>
struct Decoder::Reading<bool> {
  static bool value(const Decoder& at) { return at.reader_->boolean(at); }
};

template <>
struct Decoder::Reading<std::string> {
  static std::string value(const Decoder& at) { return at.reader_->string(at); }
};

template <class T>
struct Decoder::Reading<std::shared_ptr<const T>> {
  static std::shared_ptr<const T> value(const Decoder& at) { return std::make_shared<const T>(at); }
};

template <class T>
struct Decoder::Reading<std::vector<T>> {
  static std::vector<T> value(const Decoder& at) {
    const auto elements = at.reader_->elements(at);
    std::vector<T> list;
    list.reserve(elements.count);
    Cursor place = elements.begin;
    for (std::size_t index = 0; place.index != elements.end.index; ++index) {
      list.push_back(Decoder(at, place, {}, index).template value<T>());
      place = at.reader_->next(place);
    }
    return list;
  }
};

/// What decoding a `T` yields: a shared record for a class of objects, else the value itself.
template <class T>
using Decoded = std::conditional_t<std::derived_from<T, Object>, std::shared_ptr<const T>, T>;

/// The decoding half of a decoder for one format. `Format::read` runs the given constructor over a
/// document and returns what went wrong.
template <class Format>
class DecoderFor {
 public:
  template <class T>
  [[nodiscard]] std::expected<Decoded<T>, Error> decode(std::string_view data) const {
    std::optional<Decoded<T>> result;
    auto failure = Format::read(data, &result, [](void* to, const Decoder& from) {
      static_cast<std::optional<Decoded<T>>*>(to)->emplace(from.value<Decoded<T>>());
    });
    if (failure) return std::unexpected(*std::move(failure));
    return *std::move(result);
  }

 protected:
  using Make = void (*)(void* result, const Decoder& decoder);
};

}  // namespace PellixPlatform
