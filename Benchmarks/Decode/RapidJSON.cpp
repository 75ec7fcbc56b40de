#include "Decode/Rivals.h"

// What the compiler says of this library's headers is not for us to mend.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
#include <rapidjson/document.h>
#pragma GCC diagnostic pop

namespace Benchmarks {
namespace {

using Value = rapidjson::Value;

const Value* find(const Value& object, std::string_view key) {
  if (!object.IsObject()) return nullptr;
  const auto size = static_cast<rapidjson::SizeType>(key.size());
  const auto member = object.FindMember(Value(rapidjson::StringRef(key.data(), size)));
  return member == object.MemberEnd() ? nullptr : &member->value;
}

bool assign(const Value& value, std::string& to) {
  if (!value.IsString()) return false;
  to.assign(value.GetString(), value.GetStringLength());
  return true;
}

bool assign(const Value& value, std::int64_t& to) {
  if (!value.IsInt64()) return false;
  to = value.GetInt64();
  return true;
}

bool assign(const Value& value, double& to) {
  if (!value.IsNumber()) return false;
  to = value.GetDouble();
  return true;
}

bool assign(const Value& value, std::vector<std::string>& to) {
  if (!value.IsArray()) return false;
  to.reserve(value.Size());
  for (const auto& element : value.GetArray()) {
    if (!assign(element, to.emplace_back())) return false;
  }
  return true;
}

template <class T>
bool read(const Value& from, std::string_view key, T& to) {
  const auto* value = find(from, key);
  return value && assign(*value, to);
}

bool assign(const Value& from, PlainArticle& to) {
  return read(from, "id", to.id) && read(from, "title", to.title) &&
         read(from, "html_url", to.htmlURL) && read(from, "url", to.url) &&
         read(from, "label_names", to.labelNames) && read(from, "body", to.body) &&
         read(from, "article_id", to.articleId) && read(from, "locale", to.locale) &&
         read(from, "brand_id", to.brandId) && read(from, "score", to.score) &&
         read(from, "snippet", to.snippet);
}

}  // namespace

std::optional<PlainReply> decodeWithRapidJSON(std::string_view json) {
  rapidjson::Document root;
  root.Parse<rapidjson::kParseValidateEncodingFlag | rapidjson::kParseFullPrecisionFlag>(
      json.data(), json.size());
  if (root.HasParseError()) return std::nullopt;
  PlainReply reply;
  const auto* deflection = find(root, "deflection");
  const auto* articles = find(root, "deflection_articles");
  if (!deflection || !read(*deflection, "id", reply.deflectionId) ||
      !read(*deflection, "auth_token", reply.authToken) || !articles || !articles->IsArray() ||
      !read(root, "interaction_access_token", reply.token)) {
    return std::nullopt;
  }
  reply.articles.reserve(articles->Size());
  for (const auto& article : articles->GetArray()) {
    if (!assign(article, reply.articles.emplace_back())) return std::nullopt;
  }
  return reply;
}

}  // namespace Benchmarks
