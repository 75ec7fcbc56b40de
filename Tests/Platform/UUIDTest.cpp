#include <PellixPlatform/internal/UUID.h>

#include <gmock/gmock.h>

#include <set>

namespace PlatformTests {
namespace {

TEST(UUID, IsRandomAndInUpperCase) {
  const char* form = "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}";
  std::set<std::string> all;
  for (int i = 0; i < 1'000; ++i) {
    const auto uuid = PellixPlatform::makeUUIDString();
    EXPECT_THAT(uuid, testing::MatchesRegex(form));
    EXPECT_TRUE(all.insert(uuid).second) << uuid;
  }
}

}  // namespace
}  // namespace PlatformTests
