#include "PellixProvidersSDK/Samples.h"

#include <PellixPlatform/DecodingError.h>
#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/JSONEncoder.h>
#include <PellixProvidersSDK/DeflectionResponse.h>
#include <PellixProvidersSDK/PellixSettings.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>

namespace PellixTests {
namespace {

using PellixProvidersSDK::Deflection;
using PellixProvidersSDK::DeflectionArticle;
using PellixProvidersSDK::DeflectionResponse;
using Json = nlohmann::ordered_json;

const Json article = Json::parse(articleJSON());
const Json response = Json::parse(responseJSON());

template <class T>
std::shared_ptr<const T> decode(const std::string& json) {
  return PellixPlatform::JSONDecoder().decode<T>(json).value();
}
template <class T>
std::shared_ptr<const T> decode(const Json& json) {
  return decode<T>(json.dump());
}

/// "fine", or the error's code and coding path.
template <class T>
std::string outcomeOf(const std::string& json) {
  const auto record = PellixPlatform::JSONDecoder().decode<T>(json);
  if (record) return "fine";
  const auto& info = record.error().userInfo();
  const auto path = info.find("codingPath");
  return std::to_string(record.error().code()) +
         (path == info.end() ? "" : " " + std::get<std::string>(path->second));
}

/// The JSON text of a record with the text of one value replaced.
std::string with(Json record, const std::string& key, const std::string& value) {
  record[key] = "@@";
  auto text = record.dump();
  return text.replace(text.find("\"@@\""), 4, value);
}

void expectEveryKeyRequired(const Json& record, std::string (*outcome)(const std::string&)) {
  for (const auto& [key, own] : record.items()) {
    auto lacking = record;
    lacking.erase(key);
    EXPECT_EQ(outcome(lacking.dump()), "1 " + key);
    EXPECT_EQ(outcome(with(record, key, "null")), "2 " + key);
    for (const char* other : {"true", "1", R"("1")", "[]", "{}"}) {
      if (Json::parse(other).type() == own.type()) continue;
      if (own.is_number() && Json::parse(other).is_number()) continue;
      EXPECT_EQ(outcome(with(record, key, other)), "3 " + key) << other;
    }
    // Keys are matched as they are written.
    auto renamed = lacking;
    renamed[std::string(1, static_cast<char>(std::toupper(key[0]))) + key.substr(1)] = own;
    EXPECT_EQ(outcome(renamed.dump()), "1 " + key);
  }
}

TEST(Records, RequireEveryKey) {
  expectEveryKeyRequired(article, outcomeOf<DeflectionArticle>);
  expectEveryKeyRequired(response["deflection"], outcomeOf<Deflection>);
  expectEveryKeyRequired(response, outcomeOf<DeflectionResponse>);
}

TEST(Article, LooksAtItsKeysInDeclaredOrder) {
  // Of two wrong values, the earlier one is reported, though it stands last in the document.
  std::vector<std::string> keys;
  for (const auto& [key, own] : article.items()) keys.push_back(key);
  for (std::size_t first = 0; first + 1 < keys.size(); ++first) {
    Json wrong;
    for (std::size_t i = keys.size(); i-- > 0;) {
      wrong[keys[i]] = i < first ? article[keys[i]] : Json();
    }
    EXPECT_EQ(outcomeOf<DeflectionArticle>(wrong.dump()), "2 " + keys[first]);
  }
}

TEST(Article, TakesNumbersThatFit) {
  const struct {
    const char* text;
    std::optional<std::int64_t> integer;
    std::optional<double> real;
  } cases[] = {
      {"-5", -5, -5.0},
      {"0", 0, 0.0},
      {"7.0", 7, 7.0},
      {"1e2", 100, 100.0},
      {"9223372036854775807", 9223372036854775807, 0x1p63},
      {"-9223372036854775808", std::numeric_limits<std::int64_t>::min(), -0x1p63},
      {"9223372036854775808", std::nullopt, 0x1p63},
      {"-9223372036854775809", std::nullopt, -0x1p63},
      {"1.5", std::nullopt, 1.5},
      {"1e-1", std::nullopt, 0.1},
      {"123456789012345678901234567890", std::nullopt, 123456789012345678901234567890.0},
      {"1e400", std::nullopt, std::nullopt},
  };
  for (const char* key : {"id", "article_id", "brand_id"}) {
    for (const auto& [text, integer, real] : cases) {
      const auto json = with(article, key, text);
      if (!integer) {
        EXPECT_EQ(outcomeOf<DeflectionArticle>(json), "4 " + std::string(key)) << text;
        continue;
      }
      const auto decoded = decode<DeflectionArticle>(json);
      EXPECT_EQ(std::string_view(key) == "id"           ? decoded->id()
                : std::string_view(key) == "article_id" ? decoded->articleId()
                                                        : decoded->brandId(),
                *integer);
    }
  }
  for (const auto& [text, integer, real] : cases) {
    const auto json = with(article, "score", text);
    if (real) {
      EXPECT_EQ(decode<DeflectionArticle>(json)->score(), *real);
    } else {
      EXPECT_EQ(outcomeOf<DeflectionArticle>(json), "4 score") << text;
    }
  }
}

TEST(Article, TakesLabelsThatAreTexts) {
  const std::pair<const char*, std::string> cases[] = {
      {"[]", "fine"},
      {R"(["a"])", "fine"},
      {R"(["a",1])", "3 label_names[1]"},
      {"[null]", "2 label_names[0]"},
      {R"(["a","b",["c"]])", "3 label_names[2]"},
  };
  for (const auto& [labels, expected] : cases) {
    EXPECT_EQ(outcomeOf<DeflectionArticle>(with(article, "label_names", labels)), expected);
  }
  EXPECT_THAT(decode<DeflectionArticle>(with(article, "label_names", "[]"))->labelNames(),
              testing::IsEmpty());
}

TEST(Article, ShowsWhatItHolds) {
  const auto decoded = decode<DeflectionArticle>(article);
  EXPECT_EQ(decoded->id(), 11);
  EXPECT_EQ(decoded->title(), "Resetting");
  EXPECT_EQ(decoded->htmlURL(), "https://acme.example/a/11");
  EXPECT_EQ(decoded->url(), "https://acme.example/api/a/11");
  EXPECT_THAT(decoded->labelNames(), testing::ElementsAre("account", "login"));
  EXPECT_EQ(decoded->body(), "<p>Reset</p>");
  EXPECT_EQ(decoded->articleId(), 4711);
  EXPECT_EQ(decoded->locale(), "en-us");
  EXPECT_EQ(decoded->brandId(), 3);
  EXPECT_EQ(decoded->score(), 0.75);
  EXPECT_EQ(decoded->snippet(), "<em>Reset</em>");

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
  EXPECT_TRUE(made.isEqual(decoded.get()));
  EXPECT_EQ(Json::parse(PellixPlatform::JSONEncoder().encode(made).value()), article);
}

TEST(Response, SaysWhereItIsWrong) {
  const std::pair<const char*, std::string> cases[] = {
      {"/deflection/auth_token", "1 deflection.auth_token"},
      {"/deflection/id", "1 deflection.id"},
      {"/deflection_articles/1/snippet", "1 deflection_articles[1].snippet"},
      {"/deflection_articles/0/id", "1 deflection_articles[0].id"},
  };
  for (const auto& [pointer, expected] : cases) {
    const Json::json_pointer at(pointer);
    auto lacking = response;
    lacking[at.parent_pointer()].erase(at.back());
    EXPECT_EQ(outcomeOf<DeflectionResponse>(lacking.dump()), expected);
  }
  EXPECT_EQ(outcomeOf<DeflectionResponse>(with(response, "deflection_articles", "[7]")),
            "3 deflection_articles[0]");
  EXPECT_EQ(outcomeOf<DeflectionResponse>("{}"), "1 deflection");
  EXPECT_THAT(
      decode<DeflectionResponse>(with(response, "deflection_articles", "[]"))->deflectionArticles(),
      testing::IsEmpty());
}

TEST(Records, IgnoreOtherKeysWhateverTheirValues) {
  const std::string values[] = {"null",
                                "1e400",
                                "123456789012345678901234567890",
                                "-0.0",
                                R"("\u0000")",
                                R"({"id":null,"":[]})",
                                std::string(5000, '[') + std::string(5000, ']')};
  for (const auto& value : values) {
    const auto extended = with(article, "other", value);
    EXPECT_TRUE(
        decode<DeflectionArticle>(extended)->isEqual(decode<DeflectionArticle>(article).get()));
    EXPECT_EQ(outcomeOf<Deflection>(with(response["deflection"], "other", value)), "fine");
    EXPECT_EQ(outcomeOf<DeflectionResponse>(with(response, "other", value)), "fine");
  }
}

template <class T>
void expectRoundTrip(const Json& json) {
  const auto decoded = decode<T>(json);
  const auto text = PellixPlatform::JSONEncoder().encode(*decoded).value();
  EXPECT_EQ(Json::parse(text), json);  // the same keys in the same order
  EXPECT_TRUE(decode<T>(text)->isEqual(decoded.get()));
}

TEST(Records, ComeBackFromTheirEncodedForm) {
  expectRoundTrip<DeflectionArticle>(article);
  expectRoundTrip<Deflection>(response["deflection"]);
  expectRoundTrip<DeflectionResponse>(response);
  auto odd = response;
  odd["deflection_articles"][0]["score"] = 5e-324;
  odd["deflection_articles"][0]["title"] = "\" \\ \n \u00e9 \U0001F642";
  odd["deflection_articles"][0]["label_names"] = Json::array();
  odd["deflection_articles"][1]["brand_id"] = std::numeric_limits<std::int64_t>::min();
  expectRoundTrip<DeflectionResponse>(odd);
  odd["deflection_articles"] = Json::array();
  expectRoundTrip<DeflectionResponse>(odd);
}

template <class T>
bool areEqual(const Json& a, const Json& b) {
  const auto first = decode<T>(a);
  const auto second = decode<T>(b);
  EXPECT_EQ(first->isEqual(second.get()), second->isEqual(first.get()));
  return first->isEqual(second.get());
}

TEST(Article, IsEqualIfAllItsFieldsAre) {
  EXPECT_TRUE(areEqual<DeflectionArticle>(article, article));
  for (const auto& [key, own] : article.items()) {
    auto other = article;
    auto& value = other[key];
    if (own.is_string()) {
      auto precomposed = article;
      precomposed[key] = "caf\u00e9";
      value = "cafe\u0301";
      EXPECT_TRUE(areEqual<DeflectionArticle>(other, precomposed)) << key;
      value = "cafe";
      EXPECT_FALSE(areEqual<DeflectionArticle>(other, precomposed)) << key;
    } else if (own.is_number()) {
      value = own.get<double>() + 1;
      EXPECT_FALSE(areEqual<DeflectionArticle>(other, article)) << key;
    }
  }
  const std::pair<Json, bool> labels[] = {{Json::array({"account", "login"}), true},
                                          {Json::array({"login", "account"}), false},
                                          {Json::array({"account"}), false},
                                          {Json::array({"account", "login", "x"}), false},
                                          {Json::array(), false}};
  for (const auto& [list, expected] : labels) {
    auto other = article;
    other["label_names"] = list;
    EXPECT_EQ(areEqual<DeflectionArticle>(other, article), expected) << list;
    EXPECT_TRUE(areEqual<DeflectionArticle>(other, other)) << list;
  }
}

TEST(Article, ComparesItsScoreAsANumber) {
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

TEST(Response, IsEqualIfAllItsFieldsAre) {
  EXPECT_TRUE(areEqual<DeflectionResponse>(response, response));
  const struct {
    const char* pointer;
    Json value;
    bool expected;
  } cases[] = {
      {"/deflection/id", 8, false},
      {"/deflection/auth_token", "other", false},  // though nothing shows it
      {"/deflection_articles/1/snippet", "other", false},
      {"/deflection_articles", Json::array({response["deflection_articles"][0]}), false},
      {"/deflection_articles",
       Json::array({response["deflection_articles"][1], response["deflection_articles"][0]}),
       false},
      {"/interaction_access_token", "other", false},
      {"/other", 1, true},
  };
  for (const auto& [pointer, value, expected] : cases) {
    auto other = response;
    other[Json::json_pointer(pointer)] = value;
    EXPECT_EQ(areEqual<DeflectionResponse>(response, other), expected) << pointer;
  }
  for (const char* pointer :
       {"/deflection/auth_token", "/interaction_access_token", "/deflection_articles/0/title"}) {
    auto precomposed = response;
    auto decomposed = response;
    precomposed[Json::json_pointer(pointer)] = "\u00c5";
    decomposed[Json::json_pointer(pointer)] = "A\u030a";
    EXPECT_TRUE(areEqual<DeflectionResponse>(precomposed, decomposed)) << pointer;
  }
  auto empty = response;
  empty["deflection_articles"] = Json::array();
  EXPECT_TRUE(areEqual<DeflectionResponse>(empty, empty));
  EXPECT_FALSE(areEqual<DeflectionResponse>(empty, response));
}

TEST(Records, EqualNothingOfAnotherClass) {
  const PellixProvidersSDK::PellixSettings plain;
  const auto anArticle = decode<DeflectionArticle>(article);
  const auto aResponse = decode<DeflectionResponse>(response);
  const PellixPlatform::Object* const objects[] = {anArticle.get(), aResponse->deflection().get(),
                                                   aResponse.get(), &plain};
  for (const auto* object : objects) {
    EXPECT_FALSE(object->isEqual(nullptr));
    for (const auto* other : objects) EXPECT_EQ(object->isEqual(other), object == other);
  }
}

TEST(Records, HashByIdentity) {
  const auto first = decode<DeflectionResponse>(response);
  const auto second = decode<DeflectionResponse>(response);
  ASSERT_TRUE(first->isEqual(second.get()));
  EXPECT_NE(first->hash(), second->hash());
  EXPECT_NE(first->deflection()->hash(), second->deflection()->hash());
  EXPECT_NE(first->deflectionArticles()[0]->hash(), second->deflectionArticles()[0]->hash());
  EXPECT_EQ(first->hash(), first->hash());
}

}  // namespace
}  // namespace PellixTests
