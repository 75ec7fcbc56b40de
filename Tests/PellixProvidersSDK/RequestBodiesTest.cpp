#include "Models/RequestBodies.h"
#include "Resources/PellixEndpoint.h"

#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/JSONEncoder.h>
#include <PellixProvidersSDK/RejectionReason.h>

#include <gtest/gtest.h>

namespace PellixTests {
namespace {

using namespace PellixProvidersSDK;

std::string encoded(const InteractionRequestBody& body) {
  return PellixPlatform::JSONEncoder().encode(body).value_or("can't be encoded");
}

TEST(InteractionRequestBody, HasItsKeysInOrderAndABrandIfThereIsOne) {
  EXPECT_EQ(encoded({"ref", "How?", "de", {}, std::nullopt}),
            R"({"via_id":65,"deflection_channel_id":65,"interaction_reference":"ref",)"
            R"("interaction_reference_type":4,"enquiry":"How?","locale":"de","labels":[]})");
  EXPECT_EQ(encoded({"", "", "", {"b", "a"}, -1}),
            R"({"via_id":65,"deflection_channel_id":65,"interaction_reference":"",)"
            R"("interaction_reference_type":4,"enquiry":"","locale":"","labels":["b","a"],)"
            R"("brand_id":-1})");
  EXPECT_EQ(encoded({"", "", "\xFF", {}, std::nullopt}), "can't be encoded");
  EXPECT_EQ(encoded({"", "", "", {"\xFF"}, std::nullopt}), "can't be encoded");
}

static_assert(makeRejectionReason(0) == RejectionReason::reason0 &&
              makeRejectionReason(1) == RejectionReason::reason1 &&
              makeRejectionReason(2) == RejectionReason::reason2);
static_assert(!makeRejectionReason(3) && !makeRejectionReason(-1) &&
              !makeRejectionReason(std::int64_t{1} << 32));
static_assert(rawValue(RejectionReason::reason2) == 2 && rawValue(RejectionReason{-7}) == -7);

TEST(Endpoint, HasAMethodWhateverItsText) {
  using QuorvelCoreSDK::HttpMethod;
  const std::pair<std::string, HttpMethod> cases[] = {
      {"get", HttpMethod::get},   {"Post", HttpMethod::post},      {"POST", HttpMethod::post},
      {"pUT", HttpMethod::put},   {"delete", HttpMethod::delete_}, {"DELETE", HttpMethod::delete_},
      {"", HttpMethod::get},      {" put", HttpMethod::get},       {"put ", HttpMethod::get},
      {"patch", HttpMethod::get}, {"posts", HttpMethod::get},      {"po", HttpMethod::get},
  };
  for (const auto& [text, method] : cases) {
    const auto endpoint = PellixPlatform::JSONDecoder().decode<PellixEndpoint>(
        R"({"urlString":"u","method":")" + text + R"(","name":"n"})");
    ASSERT_TRUE(endpoint) << text;
    EXPECT_EQ(endpoint->httpMethod(), method) << text;
    EXPECT_EQ(endpoint->method(), text);
  }
}

}  // namespace
}  // namespace PellixTests
