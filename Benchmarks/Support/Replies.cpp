#include "Support/Replies.h"

#include <nlohmann/json.hpp>

#include <string_view>

namespace Benchmarks {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view html =
    "<h2>Getting back in</h2>\n<p>Open <a href=\"https://help.example/reset?from=mail\">the reset "
    "page</a>, type the address that you signed up with, and follow the link in the message. It "
    "works for one hour, and only once; ask for another one if it came too late.</p>\n"
    "<ul><li>No message? Look among the <em>unwanted</em> ones.</li><li>Still none? Write to "
    "us: we answer within a day.</li></ul>\n";
constexpr std::string_view japanese =
    "<p>パスワードを忘れた場合は、ログイン画面の「再設定」を押して、登録したメールアドレスを"
    "入力してください🔑。届いたメールのリンクは一時間だけ有効です⏰。メールが見つからないときは、"
    "迷惑メールのフォルダーも確認してください📬。</p>\n";

/// At least so many bytes of whole repetitions.
std::string repeated(std::string_view text, std::size_t bytes) {
  std::string result;
  while (result.size() < bytes) result += text;
  return result;
}

Json article(const ReplyShape& shape, std::size_t index) {
  const bool isJapanese = shape.text == ReplyShape::Text::japanese;
  const auto text = isJapanese ? japanese : html;
  const auto number = std::to_string(360'000'000'000 + index);
  const std::string site = "https://help.example/hc/";
  auto labels = Json::array();
  for (std::size_t i = 0; i < shape.labels; ++i) {
    labels.push_back((isJapanese ? "ラベル" : "label ") + std::to_string(i));
  }
  return {{"id", 1'900'000'000 + index},
          {"title", isJapanese ? "パスワードの再設定について" : "Resetting a forgotten password"},
          {"html_url", site + (isJapanese ? "ja" : "en-us") + "/articles/" + number},
          {"url", site + "api/v2/articles/" + number + ".json"},
          {"label_names", std::move(labels)},
          {"body", repeated(text, shape.bodyBytes)},
          {"article_id", 360'000'000'000 + index},
          {"locale", isJapanese ? "ja" : "en-us"},
          {"brand_id", 4100},
          {"score", 0.8125 / static_cast<double>(index + 1)},
          {"snippet", std::string(isJapanese ? japanese : html.substr(0, 150))}};
}

std::string withEscapedBrackets(std::string_view json) {
  std::string result;
  for (const char c : json) {
    if (c == '<' || c == '>') {
      result += c == '<' ? "\\u003c" : "\\u003e";
    } else {
      result += c;
    }
  }
  return result;
}

}  // namespace

std::string makeReply(const ReplyShape& shape) {
  auto articles = Json::array();
  for (std::size_t i = 0; i < shape.articles; ++i) articles.push_back(article(shape, i));
  const Json reply{{"deflection", {{"id", 987'654'321}, {"auth_token", std::string(64, 'a')}}},
                   {"deflection_articles", std::move(articles)},
                   {"interaction_access_token", std::string(64, 't')}};
  using enum ReplyShape::Escapes;
  const auto json = reply.dump(-1, ' ', shape.escapes == allButASCII);
  return shape.escapes == angleBrackets ? withEscapedBrackets(json) : json;
}

std::vector<NamedReply> namedReplies() {
  using enum ReplyShape::Text;
  using enum ReplyShape::Escapes;
  return {
      {"three_4k", makeReply({})},
      {"hundred_8k", makeReply({.articles = 100, .bodyBytes = 8192})},
      {"three_tiny", makeReply({.bodyBytes = 1})},
      {"japanese", makeReply({.text = ReplyShape::Text::japanese})},
      {"japanese_escaped", makeReply({.text = ReplyShape::Text::japanese, .escapes = allButASCII})},
      {"html_escaped", makeReply({.escapes = angleBrackets})}};
}

}  // namespace Benchmarks
