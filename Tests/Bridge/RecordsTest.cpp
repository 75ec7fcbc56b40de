#include "Bridge/Bridge.h"

#include <PellixPlatform/DecodingError.h>
#include <PellixPlatform/EncodingError.h>
#include <PellixPlatform/FileError.h>

#include <gmock/gmock.h>

#include <cerrno>

namespace BridgeTests {
namespace {

using namespace std::string_literals;
using PellixPlatform::HTTPURLResponse;
using PellixProvidersSDK::DeflectionResponse;
using PellixProvidersSDK::PellixDispatcherResponse;

std::shared_ptr<const DeflectionResponse> decodedResponse() {
  return PellixPlatform::JSONDecoder()
      .decode<DeflectionResponse>(PellixTests::responseJSON())
      .value();
}

std::shared_ptr<const PellixDispatcherResponse> report(const std::optional<std::string>& data) {
  const HTTPURLResponse::HeaderFields fields{
      {"Via", "two"}, {"Content-Type", "text/plain"}, {"via", ""}};
  return std::make_shared<const PellixDispatcherResponse>(
      std::make_shared<const HTTPURLResponse>("https://acme.example/", 204, fields), data);
}

/// A borrowed text, checked for the NUL behind it.
template <class Read, class... Arguments>
std::string text(Read read, Arguments... arguments) {
  size_t length = 0;
  const char* bytes = read(arguments..., &length);
  EXPECT_EQ(read(arguments..., nullptr), bytes);
  EXPECT_EQ(bytes[length], '\0');
  return {bytes, length};
}

TEST(BridgedResponse, HasItsDeflectionAndArticlesWithEveryField) {
  const auto object = decodedResponse();
  const auto* response = seen<const QVLDeflectionResponse>(*object);
  EXPECT_EQ(numberOf(response), 7);
  EXPECT_EQ(text(QVLDeflectionResponse_interactionAccessToken, response), "token");
  ASSERT_EQ(QVLDeflectionResponse_deflectionArticles_count(response), 2U);
  EXPECT_EQ(QVLDeflectionArticle_id(QVLDeflectionResponse_deflectionArticles_at(response, 1)), -12);
  const auto* article = QVLDeflectionResponse_deflectionArticles_at(response, 0);
  EXPECT_EQ(QVLDeflectionArticle_id(article), 11);
  EXPECT_EQ(QVLDeflectionArticle_articleId(article), 4711);
  EXPECT_EQ(QVLDeflectionArticle_brandId(article), 3);
  EXPECT_EQ(QVLDeflectionArticle_score(article), 0.75);
  EXPECT_EQ(text(QVLDeflectionArticle_title, article), "Resetting");
  EXPECT_EQ(text(QVLDeflectionArticle_htmlURL, article), "https://acme.example/a/11");
  EXPECT_EQ(text(QVLDeflectionArticle_url, article), "https://acme.example/api/a/11");
  EXPECT_EQ(text(QVLDeflectionArticle_body, article), "<p>Reset</p>");
  EXPECT_EQ(text(QVLDeflectionArticle_locale, article), "en-us");
  EXPECT_EQ(text(QVLDeflectionArticle_snippet, article), "<em>Reset</em>");
  ASSERT_EQ(QVLDeflectionArticle_labelNames_count(article), 2U);
  EXPECT_EQ(text(QVLDeflectionArticle_labelNames_at, article, size_t{1}), "login");
}

TEST(BridgedDispatcherResponse, HasAnHTTPResponseAndTellsAbsentDataFromEmpty) {
  for (const std::optional<std::string>& data :
       {{}, std::optional(""s), std::optional("\0\xFF"s)}) {
    const auto object = report(data);
    size_t length = 9;
    const auto* bytes =
        QVLPellixDispatcherResponse_data(seen<const QVLPellixDispatcherResponse>(*object), &length);
    EXPECT_EQ(bytes == nullptr, !data);
    EXPECT_EQ(std::string(bytes, bytes + length), data.value_or(""));
  }
  const auto object = report(std::nullopt);
  const auto* response =
      QVLPellixDispatcherResponse_response(seen<const QVLPellixDispatcherResponse>(*object));
  EXPECT_EQ(QVLHTTPURLResponse_statusCode(response), 204);
  EXPECT_EQ(text(QVLHTTPURLResponse_url, response), "https://acme.example/");
  EXPECT_EQ(text(QVLHTTPURLResponse_valueForHeaderField, response, "VIADUCT", size_t{3}), "two, ");
  size_t length = 9;
  EXPECT_EQ(QVLHTTPURLResponse_valueForHeaderField(response, "Viaduct", 7, &length), nullptr);
  EXPECT_EQ(length, 0U);
  ASSERT_EQ(QVLHTTPURLResponse_allHeaderFields_count(response), 2U);
  EXPECT_EQ(text(QVLHTTPURLResponse_allHeaderFields_nameAt, response, size_t{1}), "Via");
  EXPECT_EQ(text(QVLHTTPURLResponse_allHeaderFields_valueAt, response, size_t{1}), "two, ");
}

void lookAt(const QVLDeflectionResponse*, const QVLError* error, void* context) {
  ++*static_cast<int*>(context);
  EXPECT_EQ(text(QVLError_domain, error), "do\0main"s);
  EXPECT_EQ(QVLError_code(error), -5);
  EXPECT_EQ(text(QVLError_localizedDescription, error), "Out of order");
  ASSERT_EQ(QVLError_userInfo_count(error), 3U);
  EXPECT_EQ(text(QVLError_userInfo_keyAt, error, size_t{2}), "path");
  EXPECT_EQ(text(QVLError_userInfo_textForKey, error, "path", size_t{4}), "a\0b"s);
  EXPECT_EQ(QVLError_userInfo_textForKey(error, "line", 4, nullptr), nullptr);
  int64_t integer = 9;
  EXPECT_FALSE(QVLError_userInfo_integerForKey(error, "path", 4, &integer));
  EXPECT_FALSE(QVLError_userInfo_integerForKey(error, "lin", 3, &integer));
  EXPECT_EQ(integer, 9);
  EXPECT_TRUE(QVLError_userInfo_integerForKey(error, "line", 4, &integer));
  EXPECT_EQ(integer, 3);
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
  int calls = 0;
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(provider(), "q", 1, lookAt, &calls,
                                                            nullptr);
  host.transport->settle();
  EXPECT_EQ(calls, 1);
}

TEST(BridgedError, HasTheConstantsOfTheCPlusPlusInterface) {
  using namespace PellixPlatform;
  using namespace PellixProvidersSDK;
  const std::pair<const char*, const char*> texts[] = {
      {QVLLocalizedDescriptionKey, NSLocalizedDescriptionKey},
      {QVLDecodingErrorDomain, DecodingErrorDomain},
      {QVLEncodingErrorDomain, EncodingErrorDomain},
      {QVLFileErrorDomain, FileErrorDomain},
      {QVLCoreErrorDomain, QuorvelCoreSDK::CoreErrorDomain},
      {QVLVeltraneErrorDomain, VeltraneProvidersSDK::VeltraneErrorDomain},
      {QVLPellixErrorDomain, PellixErrorDomain},
      {QVLPellixErrorStatusCodeKey, "status_code"},
      {QVLPellixDisabledErrorDomain, PellixDisabledErrorDomain}};
  for (const auto& [inC, inCPlusPlus] : texts) EXPECT_STREQ(inC, inCPlusPlus);

  const auto error = JSONDecoder().decode<DeflectionResponse>(R"({"deflection":1})").error();
  for (const auto* key :
       {QVLDecodingErrorCodingPathKey, QVLDecodingErrorLineKey, QVLDecodingErrorByteKey,
        QVLDecodingErrorExpectedKey, QVLDecodingErrorFoundKey}) {
    EXPECT_TRUE(error.userInfo().contains(std::string_view(key))) << key;
  }
  EXPECT_EQ(text(QVLDecodingError_textForCode, QVLDecodingErrorTypeMismatch),
            "The value is of another type.");
  EXPECT_EQ(text(QVLEncodingError_textForCode, QVLEncodingErrorInvalidText),
            "A text is not valid UTF-8.");
  EXPECT_EQ(text(QVLFileError_textForCode, ENOENT), "No such file or directory");
  EXPECT_EQ(text(QVLCoreError_textForCode, QVLCoreErrorTimedOut),
            "The server did not answer in time.");
  EXPECT_EQ(text(QVLVeltraneError_textForCode, QVLVeltraneErrorMissingArticleId),
            "No article is named.");
  EXPECT_EQ(text(QVLPellixError_textForCode, 404), "Not Found");
  EXPECT_EQ(text(QVLPellixDisabledError_textForCode, QVLPellixDisabledErrorCode),
            "The feature is disabled for the account.");
  for (const auto read : {QVLCoreError_textForCode, QVLFileError_textForCode}) {
    EXPECT_EQ(read(0, nullptr), nullptr);
  }
}

template <class Handle>
void expectEquality(bool (*isEqual)(const Handle*, const QVLObject*),
                    const PellixPlatform::Object& self, const PellixPlatform::Object& same,
                    const PellixPlatform::Object& different) {
  EXPECT_TRUE(isEqual(seen<const Handle>(self), &same));
  EXPECT_FALSE(isEqual(seen<const Handle>(self), &different));
  EXPECT_FALSE(isEqual(seen<const Handle>(self), nullptr));
}

TEST(BridgedEquality, IsThatOfTheContent) {
  const auto first = decodedResponse();
  const auto second = decodedResponse();
  expectEquality(QVLDeflectionResponse_isEqual, *first, *second, *first->deflection());
  expectEquality(QVLDeflection_isEqual, *first->deflection(), *second->deflection(), *first);
  expectEquality(QVLDeflectionArticle_isEqual, *first->deflectionArticles()[0],
                 *second->deflectionArticles()[0], *second->deflectionArticles()[1]);
  const auto answer = report("data");
  const auto same = report("data");
  expectEquality(QVLPellixDispatcherResponse_isEqual, *answer, *same, *report(std::nullopt));
  expectEquality(QVLHTTPURLResponse_isEqual, *answer->response(), *same->response(), *answer);
}

}  // namespace
}  // namespace BridgeTests
