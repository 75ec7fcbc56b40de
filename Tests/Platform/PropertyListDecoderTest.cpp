#include "Platform/Records.h"
#include "Support/Rows.h"

#include <PellixPlatform/JSONEncoder.h>
#include <PellixPlatform/internal/PropertyListDecoder.h>

#include <gtest/gtest.h>
#include <sys/mman.h>

namespace PlatformTests {
namespace {

template <class T>
std::expected<T, std::string> decode(std::string_view document) {
  const auto value = PellixPlatform::PropertyListDecoder().decode<T>(document);
  if (!value) return std::unexpected(summary(value.error()));
  return *value;
}

TEST(PropertyListDecoder, ReadsEveryKindOfValue) {
  const auto row = Support::rowsOf("Platform/Data/PropertyList.txt").front();
  const auto read = decode<std::shared_ptr<const Sample>>(row[0]);
  ASSERT_TRUE(read) << read.error();
  const auto expected = sample();
  EXPECT_TRUE((*read)->isEqual(&expected)) << *PellixPlatform::JSONEncoder().encode(**read);
}

TEST(PropertyListDecoder, ReadsUTF16) {
  for (const auto& row : Support::rowsOf("Platform/Data/UTF16.txt")) {
    EXPECT_EQ(decode<std::string>(row[0]), "\u00e9\U0001F600");
  }
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

TEST(PropertyListDecoder, TakesAGigabyteAtMost) {
  constexpr std::size_t size = (std::size_t{1} << 30) + 1;  // of which no byte is read
  void* const bytes =
      mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  ASSERT_NE(bytes, MAP_FAILED);
  const auto value = PellixPlatform::PropertyListDecoder().decode<bool>(
      std::string_view(static_cast<const char*>(bytes), size));
  EXPECT_TRUE(value.error().description().contains("too large")) << value.error().description();
  munmap(bytes, size);
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
