#include "Support/Rows.h"

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
  for (const auto& row : Support::rowsOf("Platform/Data/StatusTexts.txt")) {
    EXPECT_EQ(HTTPURLResponse::localizedStringForStatusCode(std::stoll(row[0])), row[1]) << row[0];
  }
}

}  // namespace
}  // namespace PlatformTests
