#include "PellixProvidersSDK/Host.h"

#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/JSONEncoder.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>

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
std::string outcomeOf(const std::string& json) {
  const auto record = PellixPlatform::JSONDecoder().decode<T>(json);
  return record ? "fine"
                : textOf(record.error()).substr(std::string("Platform.DecodingError ").size());
}

/// The JSON text of a record with the text of one value replaced.
std::string with(Json record, const char* pointer, const std::string& value) {
  record[Pointer(pointer)] = "@@";
  auto text = record.dump();
  return text.replace(text.find("\"@@\""), 4, value);
}

template <class T>
void expectEveryKeyRequired(const Json& record) {
  std::vector<std::string> keys;
  for (const auto& [key, own] : record.items()) {
    const auto pointer = "/" + key;
    auto lacking = record;
    lacking.erase(key);
    EXPECT_EQ(outcomeOf<T>(lacking.dump()), "1 " + key);
    EXPECT_EQ(outcomeOf<T>(with(record, pointer.c_str(), "null")), "2 " + key);
    for (const char* other : {"true", "1", R"("1")", "[]", "{}"}) {
      const auto type = Json::parse(other).type();
      if (type == own.type() || (own.is_number() && std::string_view(other) == "1")) continue;
      EXPECT_EQ(outcomeOf<T>(with(record, pointer.c_str(), other)), "3 " + key) << other;
    }
    // Keys are matched as they are written, and other ones do not matter.
    lacking[std::string(1, static_cast<char>(std::toupper(key[0]))) + key.substr(1)] = own;
    EXPECT_EQ(outcomeOf<T>(lacking.dump()), "1 " + key);
    keys.push_back(key);
  }
  // Of two wrong values, the earlier one is reported, though it stands last in the document.
  for (std::size_t first = 0; first + 1 < keys.size(); ++first) {
    Json wrong;
    for (std::size_t i = keys.size(); i-- > 0;) {
      wrong[keys[i]] = i < first ? record[keys[i]] : Json();
    }
    EXPECT_EQ(outcomeOf<T>(wrong.dump()), "2 " + keys[first]);
  }
  for (const auto& other :
       {std::string("null"), std::string("1e400"), R"({"id":null,"":[]})" + std::string(),
        std::string(5000, '[') + std::string(5000, ']')}) {
    EXPECT_EQ(outcomeOf<T>(with(record, "/other", other)), "fine");
  }
}

TEST(Records, RequireEveryKeyInDeclaredOrder) {
  expectEveryKeyRequired<DeflectionArticle>(article);
  expectEveryKeyRequired<Deflection>(response["deflection"]);
  expectEveryKeyRequired<DeflectionResponse>(response);
}

TEST(Records, SayWhatIsWrongWhere) {
  const struct {
    const char* pointer;
    const char* value;
    std::string expected;
  } cases[] = {
      {"/deflection/id", "1.5", "4 deflection.id"},
      {"/deflection_articles", "[7]", "3 deflection_articles[0]"},
      {"/deflection_articles", "[]", "fine"},
      {"/deflection_articles/1/id", "9223372036854775808", "4 deflection_articles[1].id"},
      {"/deflection_articles/1/id", "-9223372036854775808", "fine"},
      {"/deflection_articles/0/article_id", "1e-1", "4 deflection_articles[0].article_id"},
      {"/deflection_articles/0/brand_id", "1.5", "4 deflection_articles[0].brand_id"},
      {"/deflection_articles/0/brand_id", "1e2", "fine"},
      {"/deflection_articles/0/score", "1e400", "4 deflection_articles[0].score"},
      {"/deflection_articles/0/score", "9223372036854775808", "fine"},
      {"/deflection_articles/0/label_names", "[]", "fine"},
      {"/deflection_articles/0/label_names", R"(["a",1])",
       "3 deflection_articles[0].label_names[1]"},
      {"/deflection_articles/0/label_names", "[null]", "2 deflection_articles[0].label_names[0]"},
  };
  for (const auto& [pointer, value, expected] : cases) {
    EXPECT_EQ(outcomeOf<DeflectionResponse>(with(response, pointer, value)), expected) << value;
  }
}

TEST(Records, ShowWhatTheyHold) {
  const auto decoded = decode<DeflectionArticle>(article);
  const DeflectionArticle made({.id = decoded->id(),
                                .title = decoded->title(),
                                .htmlURL = decoded->htmlURL(),
                                .url = decoded->url(),
                                .labelNames = decoded->labelNames(),
                                .body = decoded->body(),
                                .articleId = decoded->articleId(),
                                .locale = decoded->locale(),
                                .brandId = decoded->brandId(),
                                .score = decoded->score(),
                                .snippet = decoded->snippet()});
  EXPECT_TRUE(made.isEqual(decoded.get()));
  EXPECT_EQ(PellixPlatform::JSONEncoder().encode(made), articleJSON());

  const auto whole = decode<DeflectionResponse>(response);
  EXPECT_EQ(textOf(*whole), "response 7 11 -12");
  EXPECT_EQ(whole->interactionAccessToken(), "token");
}

TEST(Records, ComeBackFromTheirEncodedForm) {
  auto odd = response;
  odd["deflection_articles"][0]["score"] = 5e-324;
  odd["deflection_articles"][0]["title"] = "\" \\ \n \u00e9 \U0001F642";
  odd["deflection_articles"][0]["label_names"] = Json::array();
  odd["deflection_articles"][1]["brand_id"] = std::numeric_limits<std::int64_t>::min();
  auto none = response;
  none["deflection_articles"] = Json::array();
  for (const auto& json : {response, odd, none}) {
    const auto decoded = decode<DeflectionResponse>(json);
    const auto text = PellixPlatform::JSONEncoder().encode(*decoded).value();
    EXPECT_EQ(Json::parse(text), json);  // the same keys in the same order
    EXPECT_TRUE(decode<DeflectionResponse>(Json::parse(text))->isEqual(decoded.get()));
  }
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
    auto other = response;
    auto& value = other[Pointer(path)];
    if (own.is_string()) {
      auto precomposed = response;
      precomposed[Pointer(path)] = "caf\u00e9";
      value = "cafe\u0301";
      EXPECT_TRUE(areEqual(other, precomposed)) << path;
      value = "cafe";
      EXPECT_FALSE(areEqual(other, precomposed)) << path;
    } else {
      value = own.get<double>() + 1;
      EXPECT_FALSE(areEqual(other, response)) << path;
    }
  }
  for (const char* list : {"/deflection_articles", "/deflection_articles/0/label_names"}) {
    const auto elements = response[Pointer(list)];
    for (const auto& changed :
         {Json::array(), Json::array({elements[0]}), Json::array({elements[1], elements[0]}),
          Json::array({elements[0], elements[1], elements[1]})}) {
      auto other = response;
      other[Pointer(list)] = changed;
      EXPECT_FALSE(areEqual(other, response)) << list;
      EXPECT_TRUE(areEqual(other, other)) << list;
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

TEST(Records, OfAReportAreEqualIfResponseAndBodyAre) {
  EXPECT_TRUE(reported("a")->isEqual(reported("a").get()));
  EXPECT_TRUE(reported({})->isEqual(reported({}).get()));
  for (const auto& other : {reported("b"), reported("a", 201), reported({}), reported("")}) {
    EXPECT_FALSE(reported("a")->isEqual(other.get()));
  }
  EXPECT_FALSE(reported("")->isEqual(reported({}).get()));
}

TEST(Records, EqualNothingOfAnotherClassAndHashByIdentity) {
  const auto whole = decode<DeflectionResponse>(response);
  const auto same = decode<DeflectionResponse>(response);
  const PellixProvidersSDK::PellixSettings plain;
  const auto report = reported("a");
  const PellixPlatform::Object* const objects[] = {whole.get(), whole->deflection().get(),
                                                   whole->deflectionArticles()[0].get(), &plain,
                                                   report.get()};
  for (const auto* object : objects) {
    EXPECT_FALSE(object->isEqual(nullptr));
    for (const auto* other : objects) EXPECT_EQ(object->isEqual(other), object == other);
  }
  EXPECT_NE(whole->hash(), same->hash());
  EXPECT_NE(whole->deflection()->hash(), same->deflection()->hash());
  EXPECT_NE(whole->deflectionArticles()[0]->hash(), same->deflectionArticles()[0]->hash());
}

}  // namespace
}  // namespace PellixTests
