#pragma once

#include <PellixPlatform/Coding.h>
#include <PellixPlatform/Data.h>
#include <PellixPlatform/Export.h>

namespace PellixPlatform {

/// What a record is encoded into; handed to its `encode` and borrowed for its duration. A write
/// that fails throws out of `encode`; the encoder that was asked turns it into an `Error`.
class PELLIX_EXPORT Encoder {
 public:
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  /// Writes every field of a key table as one object, in its order. An optional field without a
  /// value is left out; nothing else is.
  template <class Fields, class... Members>
  void encode(const Fields& fields, const std::tuple<Key<Fields, Members>...>& keys) {
    open('{');
    std::apply([&](const auto&... key) { (member(key.name, fields.*key.member), ...); }, keys);
    close('}');
  }

 private:
  friend class JSONEncoder;
  Encoder();

  template <class T>
  void member(std::string_view key, const T& value) {
    separate();
    name(key);
    write(value);
  }
  template <class T>
  void member(std::string_view key, const std::optional<T>& value) {
    if (value) member(key, *value);
  }

  void write(std::int64_t value);
  void write(double value);
  void write(bool value);
  void write(const std::string& value);
  template <class T>
  void write(const std::shared_ptr<const T>& value) {
    value->encode(*this);
  }
  template <class T>
  void write(const std::vector<T>& values) {
    open('[');
    for (const auto& value : values) {
      separate();
      write(value);
    }
    close(']');
  }
  template <class T>
  void write(const T& value) {
    value.encode(*this);
  }

  void open(char bracket);
  void close(char bracket);
  void separate();
  void name(std::string_view key);

  Data text_;
  std::string_view key_;  // the latest, to say in an error
};

}  // namespace PellixPlatform
