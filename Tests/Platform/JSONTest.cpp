#include "Platform/Records.h"
#include "Support/Rows.h"

#include <PellixPlatform/DecodingError.h>
#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/JSONEncoder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <limits>

namespace PlatformTests {
namespace {

using namespace std::string_literals;
using PellixPlatform::JSONEncoder;

template <class T>
auto decode(std::string_view json) {
  return PellixPlatform::JSONDecoder().decode<T>(json);
}

/// The value of "v", or why it can't be had.
template <class T>
std::expected<T, std::string> valueOf(std::string_view json) {
  const auto record = decode<Value<T>>(json);
  if (!record) return std::unexpected(summary(record.error()));
  return (*record)->v();
}

/// What is written as "v", or why it can't be.
template <class T>
std::string written(T value) {
  const auto json = JSONEncoder().encode(Value<T>(std::move(value)));
  if (json) return json->substr(5, json->size() - 6);
  return json.error().description();
}

// An odd number somewhere has the authoritative reader read the document.
constexpr const char* starts[] = {"{\"v\":", "{\"odd\":1e400,\"v\":"};

std::string nested(std::size_t levels) {
  return std::string(levels, '[') + std::string(levels, ']');
}

TEST(JSONDecoder, ReadsOtherShapesOfDocument) {
  EXPECT_EQ(decode<std::int64_t>(" 7 "), 7);
  EXPECT_EQ(decode<std::vector<std::string>>("[]"), std::vector<std::string>());
  EXPECT_EQ(valueOf<std::int64_t>("\xEF\xBB\xBF{\"v\":1}"), 1);
  EXPECT_EQ(decode<std::vector<bool>>("[true,false]"), (std::vector<bool>{true, false}));
  const std::vector<std::vector<std::int64_t>> lists{{}, {1, 2}, {}};
  EXPECT_EQ(decode<std::vector<std::vector<std::int64_t>>>(written(lists)), lists);
  for (const std::string start : starts) {
    const auto list = valueOf<std::vector<std::int64_t>>(start + "[1,2,3]}");
    EXPECT_EQ(list->capacity(), list->size());
  }
}

/// Asks for a key twice, which no record may: it shows that a key is not looked for if it comes
/// next.
struct Twice {
  struct Fields {
    std::int64_t first{};
    std::int64_t second{};
  };
  static constexpr std::tuple keys{PellixPlatform::Key{"v", &Fields::first},
                                   PellixPlatform::Key{"v", &Fields::second}};
  explicit Twice(const PellixPlatform::Decoder& decoder) : fields(decoder.decode(keys)) {}
  Fields fields;
};

TEST(JSONDecoder, DoesNotLookForAKeyThatComesNext) {
  for (const char* json : {R"({"v":1,"v":2})", R"({"v":1.0,"v":2})"}) {
    EXPECT_EQ(decode<Twice>(json)->fields.second, 2);
  }
}

TEST(JSONDecoder, SaysWhatIsWrongAndWhere) {
  for (const auto& row : Support::rowsOf("Platform/Data/JSONErrors.txt")) {
    const auto sample = decode<Sample>(row[0]);
    ASSERT_FALSE(sample) << row[0];
    EXPECT_EQ(summary(sample.error()), row[1]) << row[0];
    EXPECT_EQ(sample.error().localizedDescription(), row[2]) << row[0];
    EXPECT_EQ(sample.error().domain(), PellixPlatform::DecodingErrorDomain);
  }
}

TEST(JSONDecoder, LooksOnlyAtWhatIsReadAndTakesTheFirstOfAKey) {
  const auto numeral = "\"odd\":" + std::string(10'000, '9');
  for (const auto& before : {R"("odd":1e400)"s, R"("odd":-1e99999999999999999999)"s,
                             R"("odd":null)"s, numeral, "\"odd\":" + nested(2'000),
                             "\"odd\":" + nested(1'000'000), R"("v\u0000":1,"V":2,"vv":3,"":4)"s}) {
    for (const char* json : {R"("v":5,"v":2})", R"("v":5,"v":1e400})", R"("\u0076":5,"v":2})"}) {
      EXPECT_EQ(valueOf<std::int64_t>("{" + before + "," + json), 5) << before.substr(0, 30);
      EXPECT_EQ(valueOf<std::int64_t>(std::string("{") + json), 5) << json;
    }
  }
}

/// Expects a document to be refused for a fault where an @ stands in it.
void expectFault(std::string json) {
  const auto byte = json.find('@');
  json.erase(byte, 1);
  const auto line = 1 + std::ranges::count(std::string_view(json).substr(0, byte), '\n');
  for (const char* beyond : {R"(2"})", R"(\u3042"})"}) {  // no part of it
    const auto longer = json + beyond;
    EXPECT_EQ(failure(valueOf<std::int64_t>(std::string_view(longer).substr(0, json.size()))),
              "5; " + std::to_string(line) + "; " + std::to_string(byte))
        << json.substr(0, 30);
  }
}

TEST(JSONDecoder, RefusesMalformedDocuments) {
  for (const auto& row : Support::rowsOf("Platform/Data/MalformedJSON.txt")) expectFault(row[0]);
  expectFault("{\"w\":" + std::string(1'000'000, '[') + '@');
  expectFault("{\"w\":" + nested(1'000'000) + "@]}");
  EXPECT_EQ(failure(valueOf<bool>(std::string_view())), "5; 1; 0");
}

TEST(JSON, IsWrittenCompactlyInDeclaredOrder) {
  EXPECT_EQ(JSONEncoder().encode(sample()), sampleJSON);
  const auto read = decode<Sample>(sampleJSON);
  ASSERT_TRUE(read) << read.error().description();
  const auto expected = sample();
  EXPECT_TRUE((*read)->isEqual(&expected));
}

void expectNumbers() {
  for (const auto& row : Support::rowsOf("Platform/Data/Numbers.txt")) {
    for (const std::string start : starts) {
      const auto json = start + row[0] + "}";
      SCOPED_TRACE(json.substr(0, 60));
      const auto integer = valueOf<std::int64_t>(json);
      EXPECT_EQ(integer ? written(*integer) : "-", row[1]);
      if (!integer) {
        EXPECT_TRUE(integer.error().starts_with("4; v; a 64-bit integer; a number; 1; "));
      }
      const auto real = valueOf<double>(json);
      EXPECT_EQ(real ? written(*real) : "-", row[2]);
      if (!real) {
        EXPECT_TRUE(real.error().starts_with("4; v; in the range of a double; a number; 1; "));
      }
    }
  }
}

TEST(JSON, HoldsNumbersWithoutLossWhateverTheLocale) {
  expectNumbers();
  setenv("LOCPATH", PLATFORM_LOCALES, 1);
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  expectNumbers();
  std::setlocale(LC_ALL, "C");
}

TEST(JSON, HoldsTexts) {
  for (const auto& row : Support::rowsOf("Platform/Data/Texts.txt")) {
    EXPECT_EQ(written(row[1]), '"' + row[2] + '"');
    for (const std::string start : starts) {
      EXPECT_EQ(valueOf<std::string>(start + '"' + row[0] + "\"}"), row[1]) << row[0];
    }
  }
}

TEST(JSONEncoder, RefusesWhatJSONCanNotHold) {
  const std::string why = ": Encoding failed: the value of \"v\" is not ";
  for (const char* bytes : {"\x80", "a\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
    EXPECT_EQ(written<std::string>(bytes), "Platform.EncodingError (1)" + why + "valid UTF-8.");
  }
  using Limits = std::numeric_limits<double>;
  for (const double value : {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()}) {
    EXPECT_EQ(written(value), "Platform.EncodingError (2)" + why + "finite.");
  }
}

}  // namespace
}  // namespace PlatformTests
