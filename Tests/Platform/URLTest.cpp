#include "Support/Rows.h"

#include <PellixPlatform/URL.h>

#include <gtest/gtest.h>

namespace PlatformTests {
namespace {

using PellixPlatform::URL;

TEST(URL, TakesApartWhatFollowsTheGrammar) {
  for (const auto& row : Support::rowsOf("Platform/Data/URLs.txt")) {
    const auto url = URL::parse(row[0]);
    ASSERT_EQ(url.has_value(), row[1] != "no URL") << row[0];
    if (!url) continue;
    EXPECT_EQ(url->string(), row[0]);
    EXPECT_EQ(url->scheme(), row[1]) << row[0];
    EXPECT_EQ(url->host(), row[2]) << row[0];
    std::string rest;
    if (url->hasUserInfo()) rest += " user";
    if (url->hasQuery()) rest += " query";
    if (url->hasFragment()) rest += " fragment";
    if (url->isLoopback()) rest += " loopback";
    EXPECT_EQ(rest.substr(!rest.empty()), row[3]) << row[0];
  }
}

TEST(URL, IsComparedAsItsText) {
  EXPECT_EQ(*URL::parse("http://a/"), *URL::parse("http://a/"));
  EXPECT_FALSE(*URL::parse("http://a/") == *URL::parse("http://A/"));
}

}  // namespace
}  // namespace PlatformTests
