#include "Platform/Records.h"

#include <PellixPlatform/PropertyListDecoder.h>

#include <gtest/gtest.h>

namespace PlatformTests {
namespace {

using namespace std::string_literals;

template <class T>
std::expected<T, std::string> decode(std::string_view document) {
  const auto value = PellixPlatform::PropertyListDecoder().decode<T>(document);
  if (!value) return std::unexpected(summary(value.error()));
  return *value;
}

/// The value of "v" in a list whose fourth line gives it.
template <class T>
std::expected<T, std::string> valueOf(const std::string& element) {
  const auto record = decode<std::shared_ptr<const Value<T>>>(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<!DOCTYPE plist PUBLIC \"-//X//DTD PLIST 1.0//EN\" \"http://x.invalid/P.dtd\">\n"
      "<plist version=\"1.0\"><dict>\n<key>v</key>" +
      element + "</dict></plist>\n");
  if (!record) return std::unexpected(record.error());
  return (*record)->v();
}

std::string utf16(std::u16string_view text, bool isBigEndian) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char high = static_cast<char>(unit >> 8);
    const char low = static_cast<char>(unit & 0xFF);
    bytes += isBigEndian ? high : low;
    bytes += isBigEndian ? low : high;
  }
  return bytes;
}

TEST(PropertyListDecoder, ReadsEveryKindOfValue) {
  const auto sample = decode<std::shared_ptr<const Sample>>(R"(<plist><!-- all kinds --><dict>
      <key>unread</key><array><date>2024-01-01T00:00:00Z</date><data>AAEC</data></array>
      <key>count</key><integer> +12 </integer><key>share</key><real>-2.5e-1</real>
      <key>isOpen</key><true/><key>title</key><string> a &lt;&amp;&#233;&#x1F600;<![CDATA[<b>]]></string>
      <key>author</key><dict><key>v</key><string/></dict>
      <key>tags</key><array><string>x</string><string></string></array>
      <key>parts</key><array/></dict></plist>)");
  ASSERT_TRUE(sample) << sample.error();
  const Sample expected({.count = 12,
                         .share = -0.25,
                         .isOpen = true,
                         .title = " a <&\u00e9\U0001F600<b>",
                         .author = std::make_shared<const Value<std::string>>(""),
                         .tags = {"x", ""}});
  EXPECT_TRUE((*sample)->isEqual(&expected));
}

TEST(PropertyListDecoder, ReadsUTF16) {
  const std::u16string_view list =
      u"\uFEFF<?xml version=\"1.0\" "
      u"encoding=\"UTF-16\"?><plist><string>\u00e9\U0001F600</string></plist>";
  EXPECT_EQ(decode<std::string>(utf16(list, true)), "\u00e9\U0001F600");
  EXPECT_EQ(decode<std::string>(utf16(list, false)), "\u00e9\U0001F600");
}

TEST(PropertyListDecoder, ReadsShortTextsAndNumbers) {
  EXPECT_EQ(decode<std::string>("<plist><string>a</string></plist>"), "a");
  EXPECT_EQ(decode<std::int64_t>("<plist><integer>007</integer></plist>"), 7);
  EXPECT_EQ(valueOf<std::int64_t>("<integer>-9223372036854775808</integer>"), INT64_MIN);
  EXPECT_EQ(valueOf<bool>("<false/>"), false);
}

TEST(PropertyListDecoder, SaysWhatIsWrongAndWhere) {
  const std::pair<const char*, const char*> cases[] = {
      {"<string>1</string>", "3; v; a number; a string; 4; 154"},
      {"<date>2024</date>", "3; v; a number; a date; 4; 154"},
      {"<data/>", "3; v; a number; data; 4; 154"},
      {"<integer>9223372036854775808</integer>", "4; v; a 64-bit integer; a number; 4; 154"},
      {"<integer>1.5</integer>", "4; v; a 64-bit integer; a number; 4; 154"},
  };
  for (const auto& [element, expected] : cases) {
    EXPECT_EQ(failure(valueOf<std::int64_t>(element)), expected) << element;
  }
  EXPECT_EQ(failure(decode<std::shared_ptr<const Value<bool>>>("<plist>\n<dict/></plist>")),
            "1; v; 2; 8");
}

TEST(PropertyListDecoder, RefusesMalformedValues) {
  for (const char* element : {"<integer/>",
                              "<integer>x</integer>",
                              "<integer>1 2</integer>",
                              "<integer>0x10</integer>",
                              "<integer>+-1</integer>",
                              "<integer>++1</integer>",
                              "<integer>--1</integer>",
                              "<real>1.</real>",
                              "<real>.5</real>",
                              "<real>1e</real>",
                              "<real>nan</real>",
                              "<real>1,5</real>",
                              "<String>1</String>",
                              "<null/>",
                              "<plist/>",
                              "1",
                              "<string>a<b/></string>",
                              "<integer>1</integer>x",
                              "<integer>1</integer><integer>2</integer>",
                              "<key>w</key>",
                              "<array><key>w</key></array>",
                              "",
                              "<integer>1</integer><key>w</key>",
                              "<string>&nbsp;</string>",
                              "<string>\x80</string>",
                              "<string>&#0;</string>",
                              "<string>1</integer>",
                              "<integer>1"}) {
    const auto value = valueOf<std::int64_t>(element);
    ASSERT_FALSE(value) << element;
    EXPECT_TRUE(value.error().starts_with("5; 4; ")) << element << ": " << value.error();
  }
}

TEST(PropertyListDecoder, RefusesMalformedDocuments) {
  const std::string bomb =
      "<!DOCTYPE plist [<!ENTITY a \"aaaaaaaaaa\">\n<!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;\">]>\n"
      "<plist><string>&b;</string></plist>";
  const std::pair<std::string, const char*> cases[] = {
      {"", "no element found (line 1, byte 0)."},
      {"bplist00\xD1\x01\x02"s,
       "binary property lists are not read, only those in XML (line 1, byte 0)."},
      {"{\"v\":1}", "not well-formed (invalid token) (line 1, byte 0)."},
      {"\n<dict/>", "the document is not a property list (line 2, byte 1)."},
      {"<plist>\n</plist>", "the property list is empty (line 2, byte 16)."},
      {"<plist><true/>\n<true/></plist>",
       "the property list holds more than one value (line 2, byte 15)."},
      {"<plist><true/></plist>\n<plist/>", "junk after document element (line 2, byte 23)."},
      {"<plist>\n<key>v</key></plist>", "a key stands where a value must (line 2, byte 8)."},
      {"<plist><dict>\n<true/></dict></plist>", "a value has no key (line 2, byte 14)."},
      {"<plist><dict><key>v</key>\n</dict></plist>", "a key has no value (line 2, byte 26)."},
      {"<plist>text</plist>", "text stands where only elements may (line 1, byte 7)."},
      {"<plist>\n<string>a<b/></string></plist>",
       "an element stands where only text may (line 2, byte 17)."},
      {"<plist>\n<null/></plist>", "an element is unknown (line 2, byte 8)."},
      {"<plist>\n<real>x</real></plist>", "a number is malformed (line 2, byte 15)."},
      {bomb, "entities can't be declared here (line 1, byte 28)."},
      {"<!DOCTYPE plist [<!ENTITY a SYSTEM \"/etc/hostname\">]><plist><string>&a;</string></plist>",
       "entities can't be declared here (line 1, byte 50)."},
      {"<!DOCTYPE plist [<!ENTITY % a \"b\">]><plist><true/></plist>",
       "entities can't be declared here (line 1, byte 30)."},
      {"<!DOCTYPE plist SYSTEM \"x\">\n<plist><string>&a;</string></plist>",
       "an entity is not defined (line 2, byte 43)."},
      {"<plist><string>&a;</string></plist>", "undefined entity (line 1, byte 15)."},
      {"<?xml version=\"1.0\" encoding=\"X-9\"?><plist><true/></plist>",
       "unknown encoding (line 1, byte 30)."},
  };
  for (const auto& [document, expected] : cases) {
    const auto value = PellixPlatform::PropertyListDecoder().decode<bool>(document);
    ASSERT_FALSE(value) << document;
    EXPECT_EQ(value.error().localizedDescription(), "Data corrupted: "s + expected) << document;
  }
}

TEST(PropertyListDecoder, IsNotHurtByDepth) {
  const auto nested = [](std::size_t levels, const char* start, const char* end) {
    std::string list = "<plist>";
    for (std::size_t i = 0; i < levels; ++i) list += start;
    for (std::size_t i = 0; i < levels; ++i) list += end;
    return list + "</plist>";
  };
  EXPECT_TRUE(decode<std::shared_ptr<const Value<std::vector<std::int64_t>>>>(
      "<plist><dict><key>x</key>" + nested(100'000, "<array>", "</array>").substr(7, 1'500'000) +
      "<key>v</key><array/></dict></plist>"));
  EXPECT_EQ(failure(decode<bool>(nested(100'000, "<dict><key>k</key>", "</dict>"))),
            "5; 1; 1800007");
}

}  // namespace
}  // namespace PlatformTests
