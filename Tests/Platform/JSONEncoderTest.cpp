#include "Platform/Records.h"

#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/JSONEncoder.h>

#include <gtest/gtest.h>

#include <limits>

namespace PlatformTests {
namespace {

using namespace std::string_literals;

template <class T>
std::string encoded(T value) {
  const auto data = PellixPlatform::JSONEncoder().encode(Value<T>(std::move(value)));
  return data ? *data
              : std::to_string(data.error().code()) + " " + data.error().domain() + ": " +
                    data.error().localizedDescription();
}

TEST(JSONEncoder, WritesCompactlyInDeclaredOrder) {
  const Sample sample({.count = -3,
                       .share = 0.25,
                       .isOpen = true,
                       .title = "T",
                       .author = std::make_shared<const Value<std::string>>("Ann"),
                       .tags = {"a", "", "{", "["},
                       .parts = {std::make_shared<const Value<std::int64_t>>(1),
                                 std::make_shared<const Value<std::int64_t>>(2)}});
  EXPECT_EQ(PellixPlatform::JSONEncoder().encode(sample),
            R"({"count":-3,"share":0.25,"isOpen":true,"title":"T","author":{"v":"Ann"},)"
            R"("tags":["a","","{","["],"parts":[{"v":1},{"v":2}]})");
}

TEST(JSONEncoder, WritesValues) {
  EXPECT_EQ(encoded(std::numeric_limits<std::int64_t>::min()), R"({"v":-9223372036854775808})");
  EXPECT_EQ(encoded(0.1), R"({"v":0.1})");
  EXPECT_EQ(encoded(0.0), R"({"v":0})");
  EXPECT_EQ(encoded(-0.0), R"({"v":-0.0})");  // -0 would be read as an integer
  EXPECT_EQ(encoded(1e300), R"({"v":1e+300})");
  EXPECT_EQ(encoded(-2.2250738585072014e-308), R"({"v":-2.2250738585072014e-308})");
  EXPECT_EQ(encoded(std::vector<std::vector<std::int64_t>>{{}, {1}, {}}), R"({"v":[[],[1],[]]})");
}

TEST(JSONEncoder, EscapesWhatItMust) {
  const std::pair<std::string, const char*> cases[] = {
      {"\"\\/\b\f\n\r\t", R"({"v":"\"\\/\b\f\n\r\t"})"},
      {"a\0b\x01\x1f"s, R"({"v":"a\u0000b\u0001\u001f"})"},
      {"\x7f\u00e9\u2028\U0001F600", "{\"v\":\"\x7f\u00e9\u2028\U0001F600\"}"},
      {"", R"({"v":""})"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(encoded(text), expected);
}

TEST(JSONEncoder, LeavesOutOptionalFieldsWithoutAValue) {
  struct Query {
    struct Fields {
      std::optional<std::string> first;
      std::int64_t second = 2;
      std::optional<std::int64_t> third;
    };
    void encode(PellixPlatform::Encoder& encoder) const {
      encoder.encode(fields, std::tuple{PellixPlatform::Key{"first", &Fields::first},
                                        PellixPlatform::Key{"second", &Fields::second},
                                        PellixPlatform::Key{"third", &Fields::third}});
    }
    Fields fields;
  };
  const PellixPlatform::JSONEncoder encoder;
  EXPECT_EQ(encoder.encode(Query{}), R"({"second":2})");
  EXPECT_EQ(encoder.encode(Query{{"", 1, 0}}), R"({"first":"","second":1,"third":0})");
}

TEST(JSONEncoder, RefusesWhatJSONCanNotHold) {
  const std::string text =
      "1 Platform.EncodingError: Encoding failed: the value of \"v\" is not valid UTF-8.";
  for (const char* bytes : {"\x80", "a\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
    EXPECT_EQ(encoded(std::string(bytes)), text);
  }
  const std::string number =
      "2 Platform.EncodingError: Encoding failed: the value of \"v\" is not finite.";
  using Limits = std::numeric_limits<double>;
  for (const double value : {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()}) {
    EXPECT_EQ(encoded(value), number);
  }
}

TEST(JSONEncoder, WritesWhatTheDecoderReads) {
  const Sample sample({.count = std::numeric_limits<std::int64_t>::max(),
                       .share = 1.0 / 3,
                       .title = "\0\"\\\n\u00e9\U0001F600"s,
                       .author = std::make_shared<const Value<std::string>>("}],\""),
                       .tags = {"", "\x7f"}});
  const auto data = PellixPlatform::JSONEncoder().encode(sample);
  ASSERT_TRUE(data);
  const auto read = PellixPlatform::JSONDecoder().decode<Sample>(*data);
  ASSERT_TRUE(read) << read.error().description();
  EXPECT_TRUE((*read)->isEqual(&sample));
}

}  // namespace
}  // namespace PlatformTests
