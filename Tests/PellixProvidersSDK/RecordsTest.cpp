#include "PellixProvidersSDK/Host.h"
#include "Support/Rows.h"

#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/JSONEncoder.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cmath>

namespace PellixTests {
namespace {

using PellixProvidersSDK::Deflection;
using PellixProvidersSDK::DeflectionArticle;
using Json = nlohmann::ordered_json;
using Pointer = Json::json_pointer;

const Json article = Json::parse(articleJSON());
const Json response = Json::parse(responseJSON());

template <class T>
std::shared_ptr<const T> decode(const Json& json) {
  return PellixPlatform::JSONDecoder().decode<T>(json.dump()).value();
}

/// "fine", or the error's code and coding path.
template <class T>
std::string outcomeOf(const Json& json) {
  const auto record = PellixPlatform::JSONDecoder().decode<T>(json.dump());
  return record ? "fine"
                : textOf(record.error()).substr(std::string("Platform.DecodingError ").size());
}

/// The record with one value replaced.
Json with(Json record, const std::string& pointer, const Json& value) {
  record[Pointer(pointer)] = value;
  return record;
}

template <class T>
void expectEveryKeyRequired(const Json& record) {
  // Of two wrong values, the earlier one is reported, though it stands last in the document.
  Json wrong;
  for (auto at = record.rbegin(); at != record.rend(); ++at) wrong[at.key()] = nullptr;
  for (const auto& [key, own] : record.items()) {
    EXPECT_EQ(outcomeOf<T>(wrong), "2 " + key);
    wrong[key] = own;
    auto lacking = record;
    lacking.erase(key);
    EXPECT_EQ(outcomeOf<T>(lacking), "1 " + key);
    const auto other = own.is_string() ? Json(1) : Json("1");
    EXPECT_EQ(outcomeOf<T>(with(record, "/" + key, other)), "3 " + key);
  }
  EXPECT_EQ(outcomeOf<T>(with(wrong, "/other", {{"id", nullptr}})), "fine");
}

TEST(Records, RequireEveryKeyInDeclaredOrder) {
  expectEveryKeyRequired<DeflectionArticle>(article);
  expectEveryKeyRequired<Deflection>(response["deflection"]);
  expectEveryKeyRequired<DeflectionResponse>(response);
}

TEST(Records, SayWhatIsWrongWhere) {
  for (const auto& row : Support::rowsOf("PellixProvidersSDK/Data/Values.txt")) {
    EXPECT_EQ(outcomeOf<DeflectionResponse>(with(response, row[0], Json::parse(row[1]))), row[2])
        << row[1];
  }
}

TEST(Records, HaveEachValueUnderItsKey) {
  const DeflectionArticle made({.id = 11,
                                .title = "Resetting",
                                .htmlURL = "https://acme.example/a/11",
                                .url = "https://acme.example/api/a/11",
                                .labelNames = {"account", "login"},
                                .body = "<p>Reset</p>",
                                .articleId = 4711,
                                .locale = "en-us",
                                .brandId = 3,
                                .score = 0.75,
                                .snippet = "<em>Reset</em>"});
  EXPECT_TRUE(made.isEqual(decode<DeflectionArticle>(article).get()));
  EXPECT_EQ(PellixPlatform::JSONEncoder().encode(made), articleJSON());

  const auto whole = decode<DeflectionResponse>(response);
  EXPECT_EQ(textOf(*whole), answered);
  EXPECT_EQ(whole->interactionAccessToken(), "token");
  EXPECT_EQ(PellixPlatform::JSONEncoder().encode(*whole), responseJSON());
}

bool areEqual(const Json& a, const Json& b) {
  const auto first = decode<DeflectionResponse>(a);
  const auto second = decode<DeflectionResponse>(b);
  EXPECT_EQ(first->isEqual(second.get()), second->isEqual(first.get()));
  return first->isEqual(second.get());
}

TEST(Records, AreEqualIfAllTheirFieldsAre) {
  EXPECT_TRUE(areEqual(response, response));
  const auto leaves = response.flatten();
  for (const auto& [path, own] : leaves.items()) {
    if (own.is_string()) {
      const auto precomposed = with(response, path, "caf\u00e9");
      EXPECT_TRUE(areEqual(with(response, path, "cafe\u0301"), precomposed)) << path;
      EXPECT_FALSE(areEqual(with(response, path, "cafe"), precomposed)) << path;
    } else {
      EXPECT_FALSE(areEqual(with(response, path, own.get<double>() + 1), response)) << path;
    }
  }
  for (const char* list : {"/deflection_articles", "/deflection_articles/0/label_names"}) {
    const auto elements = response[Pointer(list)];
    for (const auto& changed :
         {Json::array(), Json::array({elements[0]}), Json::array({elements[1], elements[0]}),
          Json::array({elements[0], elements[1], elements[1]})}) {
      EXPECT_FALSE(areEqual(with(response, list, changed), response)) << list;
    }
  }
}

TEST(Records, CompareAScoreAsANumber) {
  const auto scored = [](double score) { return DeflectionArticle({.score = score}); };
  const auto nan = scored(std::nan(""));
  const auto zero = scored(0.0);
  const auto minusZero = scored(-0.0);
  EXPECT_TRUE(zero.isEqual(&minusZero));
  EXPECT_FALSE(nan.isEqual(&zero));
  EXPECT_FALSE(nan.isEqual(&nan));

  // A list that both sides share is equal without a look at its articles.
  using PellixPlatform::FieldEquality;
  const std::vector list{
      std::make_shared<const DeflectionArticle>(DeflectionArticle::Fields{.score = std::nan("")})};
  const auto sameArticles = list;
  EXPECT_TRUE(FieldEquality::same(list, list));
  EXPECT_FALSE(FieldEquality::same(list, sameArticles));
}

std::shared_ptr<const PellixDispatcherResponse> reported(std::optional<std::string> data,
                                                         int status = 200) {
  return std::make_shared<const PellixDispatcherResponse>(
      std::dynamic_pointer_cast<const PellixPlatform::HTTPURLResponse>(reply(status, {}).response),
      std::move(data));
}

/// Objects of which none equals another; the last one equals nothing but itself.
std::vector<std::shared_ptr<const PellixPlatform::Object>> oneOfEach() {
  const auto whole = decode<DeflectionResponse>(response);
  return {
      whole,         whole->deflection(), whole->deflectionArticles()[0],
      reported("a"), reported("b"),       reported("a", 201),
      reported(""),  reported({}),        std::make_shared<PellixProvidersSDK::PellixSettings>()};
}

TEST(Records, EqualNothingElseAndHashByIdentity) {
  const auto objects = oneOfEach();
  const auto others = oneOfEach();
  for (std::size_t i = 0; i < objects.size(); ++i) {
    EXPECT_FALSE(objects[i]->isEqual(nullptr));
    EXPECT_TRUE(objects[i]->isEqual(objects[i].get()));
    EXPECT_NE(objects[i]->hash(), others[i]->hash());
    for (std::size_t j = 0; j < others.size(); ++j) {
      const bool isSame = i == j && objects[i] != objects.back();
      EXPECT_EQ(objects[i]->isEqual(others[j].get()), isSame) << i << " " << j;
    }
  }
}

}  // namespace
}  // namespace PellixTests
