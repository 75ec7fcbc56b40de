#include "Platform/Records.h"

#include <PellixPlatform/DecodingError.h>
#include <PellixPlatform/JSONDecoder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cmath>
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
}

TEST(JSONDecoder, SaysWhatIsWrongAndWhere) {
  const std::string start = R"({"count":3,"share":0.25,"isOpen":true,"title":"","author":)";
  const struct {
    std::string json;
    const char* expected;
  } cases[] = {
      {"{}", "1; count; 1; 0"},
      {"{\"count\":1,\n \"share\":null}", "2; share; a number; null; 2; 21"},
      {R"({"count":"3"})", "3; count; a number; a string; 1; 9"},
      {R"({"count":1,"share":[]})", "3; share; a number; an array; 1; 19"},
      {R"({"count":1,"share":1,"isOpen":1})", "3; isOpen; a boolean; a number; 1; 30"},
      {R"({"count":1,"share":1,"isOpen":true,"title":false})",
       "3; title; a string; a boolean; 1; 43"},
      {start + "{}}", "1; author.v; 1; 58"},
      {start + "7}", "3; author; an object; a number; 1; 58"},
      {start + R"({"v":"A"},"tags":{}})", "3; tags; an array; an object; 1; 75"},
      {start + R"({"v":"A"},"tags":["a",null]})", "2; tags[1]; a string; null; 1; 80"},
      {start + "{\"v\":\"A\"},\"tags\":[],\"parts\":[{\"v\":1},\r\n\r\n{\"w\":1}]}",
       "1; parts[1].v; 3; 99"},
      {start + R"({"v":"A"},"tags":[],"parts":[{"v":1.5}]})",
       "4; parts[0].v; a 64-bit integer; a number; 1; 92"},
      {"[]", "3; an object; an array; 1; 0"},
      {"\n null", "2; an object; null; 2; 2"},
  };
  for (const auto& [json, expected] : cases) {
    const auto sample = decode<Sample>(json);
    ASSERT_FALSE(sample) << json;
    EXPECT_EQ(summary(sample.error()), expected) << json;
    EXPECT_EQ(sample.error().domain(), PellixPlatform::DecodingErrorDomain);
  }
}

TEST(JSONDecoder, DescribesErrorsInOneSentence) {
  const std::pair<const char*, const char*> cases[] = {
      {"{}", "Key not found: v (line 1, byte 0)."},
      {R"({"v":null})", "Value is null: v must be a number (line 1, byte 5)."},
      {R"({"v":"1"})", "Type mismatch: v is a string, must be a number (line 1, byte 5)."},
      {R"({"v":1.5})", "Number does not fit: v is not a 64-bit integer (line 1, byte 5)."},
      {"5", "Type mismatch: the document is a number, must be an object (line 1, byte 0)."},
      {"{\"v\":\n}", "Data corrupted: a value is missing (line 2, byte 6)."},
      {"", "Data corrupted: the document ends early (line 1, byte 0)."},
  };
  for (const auto& [json, expected] : cases) {
    EXPECT_EQ(decode<Value<std::int64_t>>(json).error().localizedDescription(), expected) << json;
  }
}

TEST(JSONDecoder, ReadsIntegersWithoutLoss) {
  const std::string zeros(400, '0');
  const std::pair<std::string, std::int64_t> fitting[] = {
      {"1.0", 1},
      {"1e2", 100},
      {"1.25E+2", 125},
      {"500e-2", 5},
      {"-0", 0},
      {"-0.0", 0},
      {"0e99999999999999999999", 0},
      {"0." + zeros + "1e401", 1},
      {"1" + zeros + "e-400", 1},
      {"9007199254740993", 9007199254740993},
      {"9007199254740993.0", 9007199254740993},
      {"9223372036854775807", INT64_MAX},
      {"922337203685477580.7e1", INT64_MAX},
      {"-9223372036854775808", INT64_MIN},
      {"-9223372036854775808.000", INT64_MIN},
  };
  for (const auto& [number, expected] : fitting) {
    EXPECT_EQ(valueOf<std::int64_t>("{\"v\":" + number + "}"), expected) << number;
  }
  for (const auto& number :
       {"1.5"s, "1e-1"s, "9223372036854775808"s, "-9223372036854775809"s, "18446744073709551615"s,
        "123456789012345678901234567890"s, "1e19"s, "1e400"s, "1" + zeros,
        "1e99999999999999999999"s, "1e9223372036854775807"s, "15e9223372036854775807"s,
        "1e-9223372036854775808"s, "1.5e-9223372036854775808"s, "1.5e-9223372036854775807"s}) {
    EXPECT_EQ(failure(valueOf<std::int64_t>("{\"v\":" + number + "}")),
              "4; v; a 64-bit integer; a number; 1; 5")
        << number;
  }
}

void expectDoubles() {
  const std::pair<const char*, double> fitting[] = {
      {"0.1", 0.1},
      {"-1.5e3", -1500},
      {"3", 3},
      {"9223372036854775808", 9223372036854775808.0},
      {"123456789012345678901234567890", 123456789012345678901234567890.0},
      {"1.7976931348623157e308", 1.7976931348623157e308},
      {"4.9e-324", 4.9e-324},
      {"1e-400", 0},
      {"0.1000000000000000055511151231257827021181583404541015625", 0.1},
  };
  for (const auto& [number, expected] : fitting) {
    // An odd number beside it has the authoritative reader read it.
    for (const std::string other : {"1", "1e400"}) {
      EXPECT_EQ(valueOf<double>("{\"odd\":" + other + ",\"v\":" + number + "}"), expected)
          << number;
    }
  }
  for (const char* number : {"1e400", "-1e400", "1.8e308"}) {
    EXPECT_EQ(failure(valueOf<double>("{\"v\":"s + number + "}")),
              "4; v; in the range of a double; a number; 1; 5")
        << number;
  }
}

TEST(JSONDecoder, ReadsDoubles) {
  expectDoubles();
  EXPECT_TRUE(std::signbit(*valueOf<double>(R"({"v":-0.0})")));
  EXPECT_FALSE(std::signbit(*valueOf<double>(R"({"v":-0})")));
  EXPECT_FALSE(std::signbit(*valueOf<double>(R"({"odd":1e400,"v":-0})")));
}

TEST(JSONDecoder, ReadsDoublesUnderALocaleWithADecimalComma) {
  setenv("LOCPATH", PLATFORM_LOCALES, 1);
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  expectDoubles();
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
  const std::pair<std::string, std::int64_t> cases[] = {
      {R"({"v":1,"v":2})", 1},
      {R"({"v":1,"v":1e400})", 1},
      {R"({"\u0076":1,"v":2})", 1},
      {R"({"\u0076":1,"v":1e400})", 1},
      {R"({"v\u0000":1,"V":2,"vv":3,"":4,"v":5})", 5},
  };
  for (const auto& [json, expected] : cases) {
    EXPECT_EQ(valueOf<std::int64_t>(json), expected) << json;
  }
  EXPECT_EQ(failure(valueOf<std::int64_t>(R"({"v":"1","v":2})")), "3; v; a number; a string; 1; 5");
  EXPECT_EQ(failure(valueOf<std::int64_t>(R"({"w":{"v":1}})")), "1; v; 1; 0");
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
    for (const std::string other : {"1", "1e400"}) {
      EXPECT_EQ(valueOf<std::string>("{\"odd\":" + other + ",\"v\":\"" + written + "\"}"), expected)
          << written;
    }
  }
}

TEST(JSONDecoder, AcceptsAByteOrderMarkAtTheStart) {
  EXPECT_EQ(valueOf<std::int64_t>("\xEF\xBB\xBF{\"v\":1}"), 1);
  EXPECT_EQ(failure(valueOf<std::int64_t>("\xEF\xBB\xBF{\"v\":\"\"}")),
            "3; v; a number; a string; 1; 8");
}

/// Expects a document to be refused for a fault where an @ stands in it.
void expectFault(std::string json) {
  const auto byte = json.find('@');
  json.erase(byte, 1);
  const auto before = std::string_view(json).substr(0, byte);
  const auto line = 1 + std::ranges::count(before, '\n');
  EXPECT_EQ(failure(valueOf<std::int64_t>(json)),
            "5; " + std::to_string(line) + "; " + std::to_string(byte))
      << json.substr(0, 30);
}

// Some have a good "v" before the fault and some have none; what is reported is always the fault.
TEST(JSONDecoder, RefusesMalformedDocuments) {
  for (const char* document :
       {"@", " \n@", "{\"v\":1@", "{\"v\":1,@}", "{\"v\":1}@}", "{\"v\":1}@{}", "{\"v\":1@]}",
        "{\"v\":1 @\"w\":2}", "{\"v\":1,\"w\"@}", "{\"v\":1,@w:2}", "{\"v\":1,@2:3}", "{@'v':1}",
        "{\"w\":1}\n@// {\"v\":1}", "{\"\\udfff@\":1}", "{\"w\":\"a@", "{\"w\":\"a\\@",
        "\xEF\xBB\xBF@", "\xEF\xBB\xBF@\xEF\xBB\xBF{}"}) {
    expectFault(document);
  }
  for (const std::string value :
       {"@",     "[1,@]", "[@,1]",     "[1@}",  "{@,}",     "0@1",   "-0@1",
        "@+1",   "@.5",   "1.@",       "1.@e5", "1e@",      "1e+@",  "-@",
        "0@x10", "@NaN",  "@Infinity", "@nul",  "true@ish", "@True", "@\x01"}) {
    expectFault("{\"w\":" + value + "}");
  }
  for (const auto& text : {"a@\nb"s,
                           "@\0"s,
                           "@\x1f"s,
                           "\\@x41"s,
                           "\\u@12"s,
                           "\\u@+123"s,
                           "\\ud800@"s,
                           "\\udc00@"s,
                           "\\udc00@\\u4e00\\u4e00\\u4e00\\u4e00"s,
                           "\\ud800@\\n"s,
                           "\\ud800@\\"s,
                           "\\ud800\\u0041@"s,
                           "\\ud800\\ud800@"s,
                           "\\udc00@\\ud800"s,
                           "@\x80"s,
                           "@\xC0\x80"s,
                           "@\xC3"s,
                           "@\xED\xA0\x80"s,
                           "@\xF4\x90\x80\x80"s,
                           "\u00e9@\xFF"s}) {
    expectFault("{\"v\":1,\n\"w\":\"" + text + "\"}");
  }
  expectFault("{\"v\":1}@\0"s);
  expectFault("@\xFF\xFE{\0}\0"s);
  expectFault("{\"w\":" + std::string(1'000'000, '[') + '@');
  expectFault("{\"w\":" + nested(1'000'000) + "@]}");
  EXPECT_EQ(failure(valueOf<bool>(std::string_view())), "5; 1; 0");
}

}  // namespace
}  // namespace PlatformTests
