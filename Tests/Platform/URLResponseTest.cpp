#include <PellixPlatform/URLResponse.h>

#include <gtest/gtest.h>

namespace PlatformTests {
namespace {

using PellixPlatform::HTTPURLResponse;
using PellixPlatform::URLResponse;
using Fields = HTTPURLResponse::HeaderFields;

TEST(HTTPURLResponse, JoinsFieldsOfTheSameName) {
  const HTTPURLResponse response("u", 200,
                                 {{"Vary", "a"},
                                  {"Date", "d"},
                                  {"VARY", "b"},
                                  {"vary", ""},
                                  {"age", "1"},
                                  {"X-A", "x"},
                                  {"X-", "y"},
                                  {"Date", "e"}});
  EXPECT_EQ(
      response.allHeaderFields(),
      (Fields{{"age", "1"}, {"Date", "d, e"}, {"Vary", "a, b, "}, {"X-", "y"}, {"X-A", "x"}}));
  EXPECT_EQ(response.valueForHeaderField("dATE"), "d, e");
  EXPECT_EQ(response.valueForHeaderField("x-a"), "x");
  EXPECT_EQ(response.valueForHeaderField("x-b"), std::nullopt);
  EXPECT_EQ(response.valueForHeaderField(""), std::nullopt);
  EXPECT_EQ(HTTPURLResponse("u", 200, {}).valueForHeaderField("a"), std::nullopt);
}

TEST(URLResponse, IsComparedByContentWithinItsClass) {
  const HTTPURLResponse response("u", 200, {{"A", "1"}, {"b", "2"}});
  const URLResponse plain("u");
  EXPECT_TRUE(response.isEqual(&response));
  const HTTPURLResponse alike("u", 200, {{"B", "2"}, {"a", "1"}});
  EXPECT_TRUE(response.isEqual(&alike));
  for (const auto& other : {HTTPURLResponse("v", 200, {{"A", "1"}, {"b", "2"}}),
                            HTTPURLResponse("u", 201, {{"A", "1"}, {"b", "2"}}),
                            HTTPURLResponse("u", 200, {{"A", "1"}, {"b", "x"}}),
                            HTTPURLResponse("u", 200, {{"A", "1"}}),
                            HTTPURLResponse("u", 200, {{"A", "1"}, {"b", "2"}, {"c", ""}})}) {
    EXPECT_FALSE(response.isEqual(&other));
    EXPECT_FALSE(other.isEqual(&response));
  }
  EXPECT_FALSE(response.isEqual(nullptr));
  EXPECT_FALSE(response.isEqual(&plain));
  EXPECT_FALSE(plain.isEqual(&response));
  EXPECT_FALSE(plain.isEqual(nullptr));
  const URLResponse plainAlike("u");
  const URLResponse plainOther("v");
  EXPECT_TRUE(plain.isEqual(&plainAlike));
  EXPECT_FALSE(plain.isEqual(&plainOther));
}

TEST(HTTPURLResponse, KnowsTheTextsOfTheRegistry) {
  const std::pair<std::int64_t, const char*> cases[] = {
      {100, "Continue"},
      {200, "OK"},
      {203, "Non-Authoritative Information"},
      {226, "IM Used"},
      {305, "Use Proxy"},
      {404, "Not Found"},
      {413, "Content Too Large"},
      {422, "Unprocessable Content"},
      {451, "Unavailable For Legal Reasons"},
      {500, "Internal Server Error"},
      {511, "Network Authentication Required"},
  };
  for (const auto& [code, text] : cases) {
    EXPECT_EQ(HTTPURLResponse::localizedStringForStatusCode(code), text) << code;
  }
  for (const std::int64_t code :
       {INT64_MIN, INT64_C(-1), INT64_C(0), INT64_C(99), INT64_C(104), INT64_C(306), INT64_C(418),
        INT64_C(499), INT64_C(512), INT64_C(999), (INT64_C(1) << 32) + 200, INT64_MAX}) {
    EXPECT_EQ(HTTPURLResponse::localizedStringForStatusCode(code), "Unknown status") << code;
  }
}

}  // namespace
}  // namespace PlatformTests
