#include "Platform/Records.h"
#include "Support/Rows.h"

#include <PellixPlatform/internal/PropertyListDecoder.h>

#include <gtest/gtest.h>

namespace PlatformTests {
namespace {

template <class T>
std::expected<T, std::string> decode(std::string_view document) {
  const auto value = PellixPlatform::PropertyListDecoder().decode<T>(document);
  if (!value) return std::unexpected(summary(value.error()));
  return *value;
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
  // What nobody reads may be anything; of a key given twice the first counts.
  const auto sample = decode<std::shared_ptr<const Sample>>(R"(<?xml version="1.0"?>
      <!DOCTYPE plist PUBLIC "-//X//DTD PLIST 1.0//EN" "http://x.invalid/P.dtd">
      <plist version="&x;"><!-- all kinds --><dict>
      <key>unread</key><array><date>2024-01-01T00:00:00Z</date><date>never</date><data>AAEC</data>
      <data>!</data><integer>0x10</integer><integer/><real>.5</real><real>5.</real><real>nan</real>
      <real>inf</real><real>1e400</real></array>
      <key>count</key><integer> +012 </integer><key>share</key><real>-2.5e-1</real>
      <key>isOpen</key><true/><key>title</key><string> a &lt;&amp;&#233;&#x1F600;<![CDATA[<b>]]></string>
      <key>author</key><dict><key>v</key><string/></dict>
      <key>tags</key><array><string>x</string><string></string></array>
      <key>parts</key><array/><key>count</key><string>again</string></dict></plist>)");
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

TEST(PropertyListDecoder, ReadsNumbersAsJSONHasThem) {
  for (const auto& row : Support::rowsOf("Platform/Data/Numbers.txt")) {
    const auto integer = decode<std::int64_t>("<plist><integer>" + row[0] + "</integer></plist>");
    EXPECT_EQ(integer ? std::to_string(*integer) : "-", row[1]) << row[0];
    const auto real = decode<double>("<plist><real>" + row[0] + "</real></plist>");
    EXPECT_EQ(real.has_value(), row[2] != "-") << row[0];
  }
}

TEST(PropertyListDecoder, SaysWhatIsWrongAndWhere) {
  for (const auto& row : Support::rowsOf("Platform/Data/PropertyListErrors.txt")) {
    const auto value = PellixPlatform::PropertyListDecoder().decode<Value<std::int64_t>>(row[0]);
    ASSERT_FALSE(value) << row[0];
    EXPECT_EQ(summary(value.error()), row[1]) << row[0];
    EXPECT_EQ(value.error().localizedDescription(), row[2]) << row[0];
  }
}

TEST(PropertyListDecoder, IsNotHurtByDepth) {
  const auto nested = [](std::size_t levels, const char* start, const char* end) {
    std::string list;
    for (std::size_t i = 0; i < levels; ++i) list += start;
    for (std::size_t i = 0; i < levels; ++i) list += end;
    return list;
  };
  EXPECT_TRUE(decode<std::shared_ptr<const Value<std::vector<std::int64_t>>>>(
      "<plist><dict><key>x</key>" + nested(100'000, "<array>", "</array>") +
      "<key>v</key><array/></dict></plist>"));
  EXPECT_EQ(failure(decode<bool>("<plist>" + nested(100'000, "<dict><key>k</key>", "</dict>"))),
            "5; 1; 1800007");
}

}  // namespace
}  // namespace PlatformTests
