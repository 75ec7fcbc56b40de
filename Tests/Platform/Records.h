#pragma once

#include <PellixPlatform/Decoder.h>
#include <PellixPlatform/Encoder.h>

#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace PlatformTests {

/// A record of one field, "v".
template <class T>
class Value final : public PellixPlatform::Object {
 public:
  struct Fields {
    T v{};
  };
  static constexpr std::tuple keys{PellixPlatform::Key{"v", &Fields::v}};

  explicit Value(T v) : fields_{std::move(v)} {}
  explicit Value(const PellixPlatform::Decoder& decoder) : fields_(decoder.decode(keys)) {}
  void encode(PellixPlatform::Encoder& encoder) const { encoder.encode(fields_, keys); }
  [[nodiscard]] bool isEqual(const Object* other) const override {
    const auto* that = dynamic_cast<const Value*>(other);
    return that && PellixPlatform::sameFields(fields_, that->fields_, keys);
  }
  [[nodiscard]] const T& v() const { return fields_.v; }

 private:
  const Fields fields_;
};

/// A record with a field of every kind.
class Sample final : public PellixPlatform::Object {
 public:
  struct Fields {
    std::int64_t count = 0;
    double share = 0;
    bool isOpen = false;
    std::string title;
    std::shared_ptr<const Value<std::string>> author;
    std::vector<std::string> tags;
    std::vector<std::shared_ptr<const Value<std::int64_t>>> parts;
  };
  static constexpr std::tuple keys{
      PellixPlatform::Key{"count", &Fields::count},   PellixPlatform::Key{"share", &Fields::share},
      PellixPlatform::Key{"isOpen", &Fields::isOpen}, PellixPlatform::Key{"title", &Fields::title},
      PellixPlatform::Key{"author", &Fields::author}, PellixPlatform::Key{"tags", &Fields::tags},
      PellixPlatform::Key{"parts", &Fields::parts}};

  explicit Sample(Fields values) : fields(std::move(values)) {}
  explicit Sample(const PellixPlatform::Decoder& decoder) : fields(decoder.decode(keys)) {}
  void encode(PellixPlatform::Encoder& encoder) const { encoder.encode(fields, keys); }
  [[nodiscard]] bool isEqual(const Object* other) const override {
    const auto* that = dynamic_cast<const Sample*>(other);
    return that && PellixPlatform::sameFields(fields, that->fields, keys);
  }

  const Fields fields;
};

inline Sample sample() {
  return Sample({.count = -3,
                 .share = 0.25,
                 .isOpen = true,
                 .title = "T\u00e9\n",
                 .author = std::make_shared<const Value<std::string>>("Ann"),
                 .tags = {"a", "", "{", "["},
                 .parts = {std::make_shared<const Value<std::int64_t>>(1),
                           std::make_shared<const Value<std::int64_t>>(2)}});
}

constexpr std::string_view sampleJSON =
    "{\"count\":-3,\"share\":0.25,\"isOpen\":true,\"title\":\"T\u00e9\\n\",\"author\":{\"v\":"
    "\"Ann\"},"
    R"("tags":["a","","{","["],"parts":[{"v":1},{"v":2}]})";

/// An error of a decoder in one line: code, coding path, expected and found types, line and byte.
inline std::string summary(const PellixPlatform::Error& error) {
  std::string text = std::to_string(error.code());
  for (const char* key : {"codingPath", "expected", "found", "line", "byte"}) {
    const auto entry = error.userInfo().find(std::string_view(key));
    if (entry == error.userInfo().end()) continue;
    const auto* number = std::get_if<std::int64_t>(&entry->second);
    text += "; " + (number ? std::to_string(*number) : std::get<std::string>(entry->second));
  }
  return text;
}

/// Why there is no value.
template <class T>
std::string failure(const std::expected<T, std::string>& result) {
  return result ? "none" : result.error();
}

}  // namespace PlatformTests
