#include "Models/RequestBodies.h"
#include "Resources/PellixEndpoint.h"

#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/JSONEncoder.h>
#include <PellixProvidersSDK/RejectionReason.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <limits>

namespace PellixTests {
namespace {

using namespace PellixProvidersSDK;
using Json = nlohmann::ordered_json;

constexpr auto least = std::numeric_limits<std::int64_t>::min();

template <class Body>
Json encoded(const Body& body) {
  return Json::parse(PellixPlatform::JSONEncoder().encode(body).value());
}

TEST(RequestBodies, HaveTheirKeysInOrder) {
  const struct {
    Json actual;
    const char* expected;
  } cases[] = {
      {encoded(InteractionRequestBody("ref", "How?", "de", {}, std::nullopt)),
       R"({"via_id":65,"deflection_channel_id":65,"interaction_reference":"ref",)"
       R"("interaction_reference_type":4,"enquiry":"How?","locale":"de","labels":[]})"},
      {encoded(InteractionRequestBody("", "", "", {"b", "a"}, -1)),
       R"({"via_id":65,"deflection_channel_id":65,"interaction_reference":"",)"
       R"("interaction_reference_type":4,"enquiry":"","locale":"","labels":["b","a"],)"
       R"("brand_id":-1})"},
      {encoded(ResolutionRequestBody{1, least, 65, "token"}),
       R"({"deflection_id":1,"article_id":-9223372036854775808,"resolution_channel_id":65,)"
       R"("interaction_access_token":"token"})"},
      {encoded(RejectionRequestBody{-1, 2, 65, "", 7}),
       R"({"deflection_id":-1,"article_id":2,"resolution_channel_id":65,)"
       R"("interaction_access_token":"","reason_id":7})"},
  };
  for (const auto& [actual, expected] : cases) EXPECT_EQ(actual, Json::parse(expected));
}

TEST(RequestBodies, AreNotEncodedIfATextIsNotUTF8) {
  const PellixPlatform::JSONEncoder encoder;
  const std::string broken = "\xFF";
  EXPECT_FALSE(encoder.encode(InteractionRequestBody(broken, "", "", {}, std::nullopt)));
  EXPECT_FALSE(encoder.encode(InteractionRequestBody("", "", broken, {}, std::nullopt)));
  EXPECT_FALSE(encoder.encode(InteractionRequestBody("", "", "", {broken}, std::nullopt)));
  EXPECT_FALSE(encoder.encode(ResolutionRequestBody{.interactionAccessToken = broken}));
  EXPECT_FALSE(encoder.encode(RejectionRequestBody{.interactionAccessToken = broken}));
}

TEST(RejectionReasons, AreThree) {
  const std::pair<std::int64_t, std::optional<RejectionReason>> cases[] = {
      {0, RejectionReason::reason0},
      {1, RejectionReason::reason1},
      {2, RejectionReason::reason2},
      {3, std::nullopt},
      {-1, std::nullopt},
      {std::int64_t{1} << 32, std::nullopt},
      {least, std::nullopt},
  };
  for (const auto& [number, reason] : cases) {
    EXPECT_EQ(makeRejectionReason(number), reason) << number;
    EXPECT_EQ(reason.transform(rawValue).value_or(number), number);
  }
}

TEST(Endpoint, HasAMethodWhateverItsText) {
  using QuorvelCoreSDK::HttpMethod;
  const std::pair<const char*, HttpMethod> cases[] = {
      {"get", HttpMethod::get},   {"GET", HttpMethod::get},        {"post", HttpMethod::post},
      {"POST", HttpMethod::post}, {"Post", HttpMethod::post},      {"put", HttpMethod::put},
      {"pUT", HttpMethod::put},   {"delete", HttpMethod::delete_}, {"DELETE", HttpMethod::delete_},
      {"", HttpMethod::get},      {" put", HttpMethod::get},       {"put ", HttpMethod::get},
      {"patch", HttpMethod::get}, {"HEAD", HttpMethod::get},       {"posts", HttpMethod::get},
      {"po", HttpMethod::get},
  };
  for (const auto& [text, method] : cases) {
    const Json json{{"urlString", "u"}, {"method", text}, {"name", "n"}};
    const auto endpoint = PellixPlatform::JSONDecoder().decode<PellixEndpoint>(json.dump());
    ASSERT_TRUE(endpoint) << text;
    EXPECT_EQ(endpoint->httpMethod(), method) << text;
    EXPECT_EQ(endpoint->method(), text);
  }
}

}  // namespace
}  // namespace PellixTests
