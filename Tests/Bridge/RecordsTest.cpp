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

/// A borrowed text, checked for the NUL behind it; "null" if there is none.
template <class Read, class... Arguments>
std::string text(Read read, Arguments... arguments) {
  size_t length = 9;
  const char* bytes = read(arguments..., &length);
  EXPECT_EQ(read(arguments..., nullptr), bytes);
  if (!bytes) return length == 0 ? "null" : "null, but long";
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
  EXPECT_EQ(text(QVLHTTPURLResponse_valueForHeaderField, response, "Viaduct", size_t{7}), "null");
  ASSERT_EQ(QVLHTTPURLResponse_allHeaderFields_count(response), 2U);
  EXPECT_EQ(text(QVLHTTPURLResponse_allHeaderFields_nameAt, response, size_t{1}), "Via");
  EXPECT_EQ(text(QVLHTTPURLResponse_allHeaderFields_valueAt, response, size_t{1}), "two, ");
}

void describe(const QVLDeflectionResponse*, const QVLError* error, void* context) {
  auto& all = *static_cast<std::string*>(context);
  all += text(QVLError_domain, error) + " " + std::to_string(QVLError_code(error)) + " " +
         text(QVLError_localizedDescription, error);
  for (size_t i = 0; i < QVLError_userInfo_count(error); ++i) {
    const auto key = text(QVLError_userInfo_keyAt, error, i);
    int64_t integer = 9;
    const bool isInteger = QVLError_userInfo_integerForKey(error, key.data(), key.size(), &integer);
    all += "\n" + key + "=" + text(QVLError_userInfo_textForKey, error, key.data(), key.size()) +
           (isInteger ? " or " : " not ") + std::to_string(integer);
  }
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
  std::string heard;
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(provider(), "q", 1, describe, &heard,
                                                            nullptr);
  host.transport->settle();
  EXPECT_EQ(heard,
            "do\0main -5 Out of order\nNSLocalizedDescriptionKey=Out\nof order not 9\n"
            "line=null or 3\npath=a\0b not 9"s);
}

TEST(BridgedError, HasTheConstantsOfTheCPlusPlusInterface) {
  using namespace PellixPlatform;
  using namespace PellixProvidersSDK;
  EXPECT_STREQ(QVLLocalizedDescriptionKey, NSLocalizedDescriptionKey);
  EXPECT_STREQ(QVLPellixErrorStatusCodeKey, "status_code");
  const std::tuple<const char*, const char*, decltype(&QVLFileError_textForCode), int, const char*>
      kinds[] = {
          {QVLDecodingErrorDomain, DecodingErrorDomain, QVLDecodingError_textForCode,
           QVLDecodingErrorTypeMismatch, "The value is of another type."},
          {QVLEncodingErrorDomain, EncodingErrorDomain, QVLEncodingError_textForCode,
           QVLEncodingErrorInvalidText, "A text is not valid UTF-8."},
          {QVLFileErrorDomain, FileErrorDomain, QVLFileError_textForCode, ENOENT,
           "No such file or directory"},
          {QVLCoreErrorDomain, QuorvelCoreSDK::CoreErrorDomain, QVLCoreError_textForCode,
           QVLCoreErrorTimedOut, "The server did not answer in time."},
          {QVLVeltraneErrorDomain, VeltraneProvidersSDK::VeltraneErrorDomain,
           QVLVeltraneError_textForCode, QVLVeltraneErrorMissingArticleId, "No article is named."},
          {QVLPellixErrorDomain, PellixErrorDomain, QVLPellixError_textForCode, 404, "Not Found"},
          {QVLPellixDisabledErrorDomain, PellixDisabledErrorDomain,
           QVLPellixDisabledError_textForCode, QVLPellixDisabledErrorCode,
           "The feature is disabled for the account."}};
  for (const auto& [inC, inCPlusPlus, read, code, expected] : kinds) {
    EXPECT_STREQ(inC, inCPlusPlus);
    EXPECT_EQ(text(read, code), expected);
  }
  for (const std::int64_t none : {0L, -1L, (1L << 32) + 1}) {
    EXPECT_EQ(text(QVLCoreError_textForCode, none), "null");
    EXPECT_EQ(text(QVLFileError_textForCode, none), "null");
  }
  const auto error = JSONDecoder().decode<DeflectionResponse>(R"({"deflection":1})").error();
  for (const auto* key :
       {QVLDecodingErrorCodingPathKey, QVLDecodingErrorLineKey, QVLDecodingErrorByteKey,
        QVLDecodingErrorExpectedKey, QVLDecodingErrorFoundKey}) {
    EXPECT_TRUE(error.userInfo().contains(std::string_view(key))) << key;
  }
}

template <class Handle>
void expectEquality(bool (*isEqual)(const Handle*, const QVLObject*),
                    const PellixPlatform::Object& self, const PellixPlatform::Object& same,
                    const PellixPlatform::Object& different) {
  EXPECT_TRUE(isEqual(seen<const Handle>(self), &same));
  EXPECT_FALSE(isEqual(seen<const Handle>(self), &different));
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
