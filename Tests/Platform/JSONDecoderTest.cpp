#include "Platform/Records.h"
#include "Support/Rows.h"

#include <PellixPlatform/DecodingError.h>
#include <PellixPlatform/JSONDecoder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cstdlib>

namespace PlatformTests {
namespace {

using namespace std::string_literals;

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

// An odd number somewhere has the authoritative reader read the document.
constexpr const char* starts[] = {"{", "{\"odd\":1e400,"};

std::string nested(std::size_t levels) {
  return std::string(levels, '[') + std::string(levels, ']');
}

TEST(JSONDecoder, ReadsEveryKindOfField) {
  const auto sample = decode<Sample>(sampleJSON);
  ASSERT_TRUE(sample) << sample.error().description();
  const auto& fields = (*sample)->fields;
  EXPECT_EQ(fields.count, 3);
  EXPECT_EQ(fields.share, 0.25);
  EXPECT_TRUE(fields.isOpen);
  EXPECT_EQ(fields.title, "T\u00e9\n");
  EXPECT_EQ(fields.author->v(), "Ann");
  EXPECT_EQ(fields.tags, (std::vector{"a"s, "b"s}));
  ASSERT_EQ(fields.parts.size(), 2U);
  EXPECT_EQ(fields.parts[1]->v(), -2);
}

TEST(JSONDecoder, ReadsOtherShapesOfDocument) {
  EXPECT_EQ(decode<std::int64_t>(" 7 "), 7);
  EXPECT_EQ(decode<std::vector<std::string>>("[]"), std::vector<std::string>());
  EXPECT_EQ(decode<std::vector<std::vector<bool>>>("[[true],[],[false,true]]"),
            (std::vector<std::vector<bool>>{{true}, {}, {false, true}}));
  EXPECT_EQ(valueOf<std::int64_t>("\xEF\xBB\xBF{\"v\":1}"), 1);
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

void expectNumbers() {
  for (const auto& row : Support::rowsOf("Platform/Data/Numbers.txt")) {
    for (const std::string start : starts) {
      const auto json = start + "\"v\":" + row[0] + "}";
      SCOPED_TRACE(json.substr(0, 60));
      if (const auto integer = valueOf<std::int64_t>(json)) {
        EXPECT_EQ(std::to_string(*integer), row[1]);
      } else {
        EXPECT_EQ("-", row[1]);
        EXPECT_TRUE(integer.error().starts_with("4; v; a 64-bit integer; a number; 1; "));
      }
      if (const auto real = valueOf<double>(json)) {
        char digits[32];
        EXPECT_EQ(std::string(digits, std::to_chars(digits, std::end(digits), *real).ptr), row[2]);
      } else {
        EXPECT_EQ("-", row[2]);
        EXPECT_TRUE(real.error().starts_with("4; v; in the range of a double; a number; 1; "));
      }
    }
  }
}

TEST(JSONDecoder, ReadsNumbersWithoutLossWhateverTheLocale) {
  expectNumbers();
  setenv("LOCPATH", PLATFORM_LOCALES, 1);
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  expectNumbers();
  std::setlocale(LC_ALL, "C");
}

TEST(JSONDecoder, LooksOnlyAtWhatIsRead) {
  const std::string numeral(10'000, '9');
  for (const auto& odd :
       {"1e400"s, "-1e99999999999999999999"s, numeral, "null"s, nested(2'000), nested(1'000'000)}) {
    EXPECT_EQ(valueOf<std::int64_t>("{\"odd\":" + odd + ",\"v\":4}"), 4) << odd.substr(0, 30);
  }
}

TEST(JSONDecoder, MatchesKeysExactlyAndTakesTheFirst) {
  for (const std::string start : starts) {
    for (const char* json : {R"("v":5,"v":2})", R"("v":5,"v":1e400})", R"("\u0076":5,"v":2})",
                             R"("v\u0000":1,"V":2,"vv":3,"":4,"v":5})"}) {
      EXPECT_EQ(valueOf<std::int64_t>(start + json), 5) << json;
    }
  }
}

TEST(JSONDecoder, ReadsTexts) {
  const std::pair<const char*, std::string> cases[] = {
      {R"(\"\\\/\b\f\n\r\t)", "\"\\/\b\f\n\r\t"},
      {R"(a\u0000b)", "a\0b"s},
      {R"(\u007f\u0080\u07fF\u0800\uffff)", "\x7f\u0080\u07ff\u0800\uffff"},
      {R"(\uD83D\uDE00\udbff\udfff)", "\U0001F600\U0010FFFF"},
      {"\x7f\u00e9\u2028\U0001F600", "\x7f\u00e9\u2028\U0001F600"},
      {"", ""},
  };
  for (const auto& [written, expected] : cases) {
    for (const std::string start : starts) {
      EXPECT_EQ(valueOf<std::string>(start + "\"v\":\"" + written + "\"}"), expected) << written;
    }
  }
}

/// Expects a document to be refused for a fault where an @ stands in it.
void expectFault(std::string json) {
  const auto byte = json.find('@');
  json.erase(byte, 1);
  const auto line = 1 + std::ranges::count(std::string_view(json).substr(0, byte), '\n');
  EXPECT_EQ(failure(valueOf<std::int64_t>(json)),
            "5; " + std::to_string(line) + "; " + std::to_string(byte))
      << json.substr(0, 30);
}

TEST(JSONDecoder, RefusesMalformedDocuments) {
  for (const auto& row : Support::rowsOf("Platform/Data/MalformedJSON.txt")) expectFault(row[0]);
  expectFault("{\"w\":" + std::string(1'000'000, '[') + '@');
  expectFault("{\"w\":" + nested(1'000'000) + "@]}");
  EXPECT_EQ(failure(valueOf<bool>(std::string_view())), "5; 1; 0");
}

}  // namespace
}  // namespace PlatformTests
