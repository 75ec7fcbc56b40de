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

template <class Number>
bool assign(const Value& value, Number& to) {
  if (!value.Is<Number>()) return false;
  to = value.Get<Number>();
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
    const auto readField = [&](std::string_view key, auto& to) { return read(article, key, to); };
    if (!readArticle(reply.articles.emplace_back(), readField)) return std::nullopt;
  }
  return reply;
}

}  // namespace Benchmarks
