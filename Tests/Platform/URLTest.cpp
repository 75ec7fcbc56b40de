#include <PellixPlatform/URL.h>

#include <gtest/gtest.h>

namespace PlatformTests {
namespace {

using namespace std::string_literals;
using PellixPlatform::URL;

TEST(URL, TakesApartWhatFollowsTheGrammar) {
  const struct {
    const char* text;
    const char* scheme;
    const char* host;
    bool hasUserInfo, hasQuery, hasFragment, isLoopback;
  } cases[] = {
      {"https://Example.ORG/a%20b", "https", "example.org", false, false, false, false},
      {"HTTP://u:p@x.example:65535/?q#f", "http", "x.example", true, true, true, false},
      {"https://@x.example", "https", "x.example", true, false, false, false},
      {"https://x.example?", "https", "x.example", false, true, false, false},
      {"https://x.example#", "https", "x.example", false, false, true, false},
      {"https://x.example:", "https", "x.example", false, false, false, false},
      {"http://LocalHost:8080/", "http", "localhost", false, false, false, true},
      {"http://localhost.example/", "http", "localhost.example", false, false, false, false},
      {"http://localhost@x.example/", "http", "x.example", true, false, false, false},
      {"http://127.0.0.1/", "http", "127.0.0.1", false, false, false, true},
      {"http://127.255.1.2:1/", "http", "127.255.1.2", false, false, false, true},
      {"http://127.0.0.1.example/", "http", "127.0.0.1.example", false, false, false, false},
      {"http://127.1/", "http", "127.1", false, false, false, false},
      {"http://128.0.0.1/", "http", "128.0.0.1", false, false, false, false},
      {"http://[::1]:80/", "http", "::1", false, false, false, true},
      {"http://[2001:DB8::1]/", "http", "2001:db8::1", false, false, false, false},
      {"http://%31/", "http", "%31", false, false, false, false},
      {"file:///etc", "file", "", false, false, false, false},
      {"mailto:a@b.example", "mailto", "", false, false, false, false},
      {"a/b?c", "", "", false, true, false, false},
      {"//x.example/", "", "x.example", false, false, false, false},
  };
  for (const auto& c : cases) {
    const auto url = URL::parse(c.text);
    ASSERT_TRUE(url) << c.text;
    EXPECT_EQ(url->string(), c.text);
    EXPECT_EQ(url->scheme(), c.scheme) << c.text;
    EXPECT_EQ(url->host(), c.host) << c.text;
    EXPECT_EQ(url->hasUserInfo(), c.hasUserInfo) << c.text;
    EXPECT_EQ(url->hasQuery(), c.hasQuery) << c.text;
    EXPECT_EQ(url->hasFragment(), c.hasFragment) << c.text;
    EXPECT_EQ(url->isLoopback(), c.isLoopback) << c.text;
  }
}

TEST(URL, RefusesWhatDoesNot) {
  for (const auto& text : {""s,
                           " "s,
                           "https://x.example/a b"s,
                           "https://x.example:65536/"s,
                           "https://x.example:-1/"s,
                           "https://x.example:99999999999999999999/"s,
                           "https://x.example:8a/"s,
                           "http://[::1"s,
                           "http://[::g]/"s,
                           "http://a\\b/"s,
                           "http://x.example/%"s,
                           "http://x.example/%4"s,
                           "http://x.example/%zz"s,
                           "http://x.example/\n"s,
                           "http://x.example/\0"s,
                           "http://x\0y/"s,
                           "http://x.example/\u00e9"s,
                           "http://a@b@c/"s,
                           "http://x.example/#a#b"s,
                           "://x"s,
                           "http://x.example/<>"s,
                           "1http://x.example/"s}) {
    EXPECT_FALSE(URL::parse(text)) << text;
  }
}

TEST(URL, IsComparedAsItsText) {
  EXPECT_EQ(*URL::parse("http://a/"), *URL::parse("http://a/"));
  EXPECT_FALSE(*URL::parse("http://a/") == *URL::parse("http://A/"));
}

}  // namespace
}  // namespace PlatformTests
