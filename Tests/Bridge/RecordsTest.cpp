#include "Bridge/Bridge.h"

#include <gmock/gmock.h>

#include <functional>

namespace BridgeTests {
namespace {

using namespace std::string_literals;
using PellixPlatform::HTTPURLResponse;
using PellixProvidersSDK::DeflectionArticle;
using PellixProvidersSDK::PellixDispatcherResponse;

template <class Record>
std::shared_ptr<const Record> decoded(const std::string& json) {
  return PellixPlatform::JSONDecoder().decode<Record>(json).value();
}

/// A borrowed text, checked for the NUL behind it.
std::string text(const std::function<const char*(size_t*)>& read) {
  size_t length = 0;
  const char* bytes = read(&length);
  EXPECT_EQ(read(nullptr), bytes);
  EXPECT_EQ(bytes[length], '\0');
  return {bytes, length};
}

const DeflectionArticle::Fields everyFieldDiffers{.id = -1,
                                                  .title = "a\0b"s,
                                                  .htmlURL = "html",
                                                  .url = "",
                                                  .labelNames = {"first", "l\0"s},
                                                  .body = "\xFF body",
                                                  .articleId = INT64_MAX,
                                                  .locale = "en",
                                                  .brandId = INT64_MIN,
                                                  .score = -0.5,
                                                  .snippet = "snippet"};

TEST(BridgedArticle, HasEveryField) {
  const auto object = std::make_shared<const DeflectionArticle>(everyFieldDiffers);
  const auto* article = seen<const QVLDeflectionArticle>(*object);
  const auto& fields = everyFieldDiffers;
  EXPECT_EQ(QVLDeflectionArticle_id(article), fields.id);
  EXPECT_EQ(QVLDeflectionArticle_articleId(article), fields.articleId);
  EXPECT_EQ(QVLDeflectionArticle_brandId(article), fields.brandId);
  EXPECT_EQ(QVLDeflectionArticle_score(article), fields.score);

  using Read = const char* (*)(const QVLDeflectionArticle*, size_t*);
  const std::pair<Read, std::string> texts[] = {
      {QVLDeflectionArticle_title, fields.title},   {QVLDeflectionArticle_htmlURL, fields.htmlURL},
      {QVLDeflectionArticle_url, fields.url},       {QVLDeflectionArticle_body, fields.body},
      {QVLDeflectionArticle_locale, fields.locale}, {QVLDeflectionArticle_snippet, fields.snippet}};
  for (const auto& [read, expected] : texts) {
    EXPECT_EQ(text(std::bind_front(read, article)), expected);
  }
  ASSERT_EQ(QVLDeflectionArticle_labelNames_count(article), fields.labelNames.size());
  for (size_t i = 0; i < fields.labelNames.size(); ++i) {
    EXPECT_EQ(text(std::bind_front(QVLDeflectionArticle_labelNames_at, article, i)),
              fields.labelNames[i]);
  }
}

TEST(BridgedResponse, HasItsDeflectionAndArticles) {
  const auto object = decoded<PellixProvidersSDK::DeflectionResponse>(PellixTests::responseJSON());
  const auto* response = seen<const QVLDeflectionResponse>(*object);
  EXPECT_EQ(QVLDeflection_deflectionID(QVLDeflectionResponse_deflection(response)), 7);
  ASSERT_EQ(QVLDeflectionResponse_deflectionArticles_count(response), 2U);
  for (const auto& [index, id] : {std::pair(0U, 11), std::pair(1U, -12)}) {
    const auto* article = QVLDeflectionResponse_deflectionArticles_at(response, index);
    EXPECT_EQ(QVLDeflectionArticle_id(article), id);
  }
  EXPECT_EQ(text(std::bind_front(QVLDeflectionResponse_interactionAccessToken, response)), "token");
}

std::shared_ptr<const HTTPURLResponse> http(int status) {
  return std::make_shared<const HTTPURLResponse>(
      "https://acme.example/", status,
      HTTPURLResponse::HeaderFields{{"Via", "two"}, {"Content-Type", "text/plain"}, {"via", ""}});
}

TEST(BridgedDispatcherResponse, TellsAbsentDataFromEmpty) {
  struct Case {
    std::optional<std::string> data;
    bool isNull;
  };
  for (const auto& [data, isNull] :
       {Case{std::nullopt, true}, Case{"", false}, Case{"\0\xFF"s, false}}) {
    const auto object = std::make_shared<const PellixDispatcherResponse>(http(200), data);
    const auto* response = seen<const QVLPellixDispatcherResponse>(*object);
    size_t length = 9;
    const auto* bytes = QVLPellixDispatcherResponse_data(response, &length);
    EXPECT_EQ(bytes == nullptr, isNull);
    EXPECT_EQ(length, data.value_or("").size());
    EXPECT_EQ(std::string(bytes, bytes + length), data.value_or(""));
    EXPECT_EQ(QVLPellixDispatcherResponse_data(response, nullptr), bytes);
  }
}

TEST(BridgedHTTPResponse, HasStatusAddressAndHeaderFields) {
  const auto object = std::make_shared<const PellixDispatcherResponse>(http(204), std::nullopt);
  const auto* response =
      QVLPellixDispatcherResponse_response(seen<const QVLPellixDispatcherResponse>(*object));
  EXPECT_EQ(QVLHTTPURLResponse_statusCode(response), 204);
  EXPECT_EQ(text(std::bind_front(QVLHTTPURLResponse_url, response)), "https://acme.example/");
  EXPECT_EQ(
      text(std::bind_front(QVLHTTPURLResponse_valueForHeaderField, response, "VIA", QVL_UNTIL_NUL)),
      "two, ");
  size_t length = 9;
  EXPECT_EQ(QVLHTTPURLResponse_valueForHeaderField(response, "Viaduct", 7, &length), nullptr);
  EXPECT_EQ(length, 0U);
  EXPECT_STREQ(QVLHTTPURLResponse_valueForHeaderField(response, "Viaduct", 3, nullptr), "two, ");
  ASSERT_EQ(QVLHTTPURLResponse_allHeaderFields_count(response), 2U);
  const auto at = [&](auto read, size_t index) {
    return text([=](size_t* size) { return read(response, index, size); });
  };
  EXPECT_EQ(at(QVLHTTPURLResponse_allHeaderFields_nameAt, 0), "Content-Type");
  EXPECT_EQ(at(QVLHTTPURLResponse_allHeaderFields_valueAt, 0), "text/plain");
  EXPECT_EQ(at(QVLHTTPURLResponse_allHeaderFields_nameAt, 1), "Via");
  EXPECT_EQ(at(QVLHTTPURLResponse_allHeaderFields_valueAt, 1), "two, ");
}

TEST(BridgedError, HasDomainCodeAndUserInfo) {
  const Host host;
  host.transport->answer(std::string(PellixTests::queryPath), [](const auto&) {
    return QuorvelCoreSDK::TransportReply{
        .error = PellixPlatform::Error("do\0main"s, -5,
                                       {{"line", std::int64_t{3}},
                                        {"NSLocalizedDescriptionKey", "Out\nof order"},
                                        {"path", "a\0b"s}})};
  });
  bool called = false;
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(
      provider(), "q", 1,
      [](const QVLDeflectionResponse* response, const QVLError* error, void* context) {
        *static_cast<bool*>(context) = true;
        EXPECT_EQ(response, nullptr);
        EXPECT_EQ(text(std::bind_front(QVLError_domain, error)), "do\0main"s);
        EXPECT_EQ(QVLError_code(error), -5);
        EXPECT_EQ(text(std::bind_front(QVLError_localizedDescription, error)), "Out of order");
        ASSERT_EQ(QVLError_userInfo_count(error), 3U);
        EXPECT_EQ(text(std::bind_front(QVLError_userInfo_keyAt, error, 0)),
                  "NSLocalizedDescriptionKey");
        EXPECT_EQ(text(std::bind_front(QVLError_userInfo_keyAt, error, 2)), "path");
        EXPECT_EQ(text(std::bind_front(QVLError_userInfo_textForKey, error, "path", 4)), "a\0b"s);
        int64_t integer = 9;
        EXPECT_TRUE(QVLError_userInfo_integerForKey(error, "line", 4, nullptr));
        EXPECT_FALSE(QVLError_userInfo_integerForKey(error, "path", 4, &integer));
        EXPECT_FALSE(QVLError_userInfo_integerForKey(error, "lin", 3, &integer));
        EXPECT_EQ(integer, 9);
        EXPECT_TRUE(QVLError_userInfo_integerForKey(error, "line", 4, &integer));
        EXPECT_EQ(integer, 3);
        size_t length = 9;
        EXPECT_EQ(QVLError_userInfo_textForKey(error, "line", 4, &length), nullptr);
        EXPECT_EQ(length, 0U);
      },
      &called, nullptr);
  Support::settle(*host.transport);
  EXPECT_TRUE(called);
}

TEST(BridgedEquality, IsThatOfTheContent) {
  const auto json = PellixTests::responseJSON();
  const auto firstResponse = decoded<PellixProvidersSDK::DeflectionResponse>(json);
  const auto sameResponse = decoded<PellixProvidersSDK::DeflectionResponse>(json);
  auto fields = everyFieldDiffers;
  const auto article = std::make_shared<const DeflectionArticle>(fields);
  const auto sameArticle = std::make_shared<const DeflectionArticle>(fields);
  fields.snippet = "another";
  const auto otherArticle = std::make_shared<const DeflectionArticle>(fields);
  const auto report = std::make_shared<const PellixDispatcherResponse>(http(200), "data");
  const auto sameReport = std::make_shared<const PellixDispatcherResponse>(http(200), "data");
  const auto otherReport =
      std::make_shared<const PellixDispatcherResponse>(http(200), std::nullopt);

  struct Case {
    const char* what;
    bool (*isEqual)(const PellixPlatform::Object& self, const QVLObject* other);
    const PellixPlatform::Object* self;
    const PellixPlatform::Object* same;
    const PellixPlatform::Object* different;
  };
  const Case cases[] = {
      {"article",
       [](const PellixPlatform::Object& self, const QVLObject* other) {
         return QVLDeflectionArticle_isEqual(seen<const QVLDeflectionArticle>(self), other);
       },
       article.get(), sameArticle.get(), otherArticle.get()},
      {"deflection",
       [](const PellixPlatform::Object& self, const QVLObject* other) {
         return QVLDeflection_isEqual(seen<const QVLDeflection>(self), other);
       },
       firstResponse->deflection().get(), sameResponse->deflection().get(), article.get()},
      {"response",
       [](const PellixPlatform::Object& self, const QVLObject* other) {
         return QVLDeflectionResponse_isEqual(seen<const QVLDeflectionResponse>(self), other);
       },
       firstResponse.get(), sameResponse.get(), firstResponse->deflection().get()},
      {"dispatcher response",
       [](const PellixPlatform::Object& self, const QVLObject* other) {
         return QVLPellixDispatcherResponse_isEqual(seen<const QVLPellixDispatcherResponse>(self),
                                                    other);
       },
       report.get(), sameReport.get(), otherReport.get()},
      {"HTTP response",
       [](const PellixPlatform::Object& self, const QVLObject* other) {
         return QVLHTTPURLResponse_isEqual(seen<const QVLHTTPURLResponse>(self), other);
       },
       report->response().get(), sameReport->response().get(), report.get()},
  };
  for (const auto& [what, isEqual, self, same, different] : cases) {
    EXPECT_TRUE(isEqual(*self, self)) << what;
    EXPECT_TRUE(isEqual(*self, same)) << what;
    EXPECT_FALSE(isEqual(*self, different)) << what;
    EXPECT_FALSE(isEqual(*self, nullptr)) << what;
  }
}

}  // namespace
}  // namespace BridgeTests
