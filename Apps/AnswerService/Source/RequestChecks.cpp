#include "RequestChecks.h"

#include "Reply.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <limits>

namespace AnswerService {
namespace {

using Json = nlohmann::ordered_json;

bool isInteger(const Json& value) {
  if (!value.is_number_integer()) return false;
  // Reading a larger one as a signed number would turn it into another number.
  constexpr auto kLargest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  return !value.is_number_unsigned() || value.get<std::uint64_t>() <= kLargest;
}

bool isString(const Json& value) {
  return value.is_string();
}

bool isListOfStrings(const Json& value) {
  return value.is_array() && std::ranges::all_of(value, isString);
}

struct TypeRule {
  std::string_view description;
  bool (*holds)(const Json& value);
};

/// In the order of Member::Type.
constexpr TypeRule kTypeRules[] = {
    {.description = "an integer", .holds = isInteger},
    {.description = "a string", .holds = isString},
    {.description = "a list of strings", .holds = isListOfStrings},
};

}  // namespace

void checkBearer(std::string_view authorization, std::string_view token) {
  constexpr std::string_view kScheme = "Bearer ";
  if (!authorization.starts_with(kScheme)) {
    throw Refusal(401, "missing_token", "The header Authorization with a bearer token is missing.");
  }
  if (authorization.substr(kScheme.size()) != token) {
    throw Refusal(401, "wrong_token", "The bearer token is not the one of this account.");
  }
}

void checkContentType(std::string_view contentType) {
  constexpr std::string_view kJson = "application/json";
  std::string_view mediaType = contentType.substr(0, contentType.find(';'));
  mediaType = mediaType.substr(0, mediaType.find_last_not_of(" \t") + 1);
  const auto equalButForCase = [](char a, char b) { return std::tolower(a) == std::tolower(b); };
  if (!std::ranges::equal(mediaType, kJson, equalButForCase)) {
    throw Refusal(415, "wrong_content_type", "The content type must be application/json.");
  }
}

Json parseObject(const std::string& text, std::span<const Member> members) {
  Json body = Json::parse(text, nullptr, false);
  if (body.is_discarded()) {
    throw Refusal(400, "not_json", "The body of the request is not well-formed JSON.");
  }
  if (!body.is_object()) {
    throw Refusal(400, "not_an_object", "The body of the request must be a JSON object.");
  }
  for (const Member& member : members) {
    const auto found = body.find(member.name);
    if (found == body.end()) {
      if (!member.required) continue;
      throw Refusal(422, "missing_member", fmt::format("The member {} is missing.", member.name));
    }
    const TypeRule& rule = kTypeRules[static_cast<std::size_t>(member.type)];
    if (!rule.holds(*found)) {
      throw Refusal(422, "wrong_type",
                    fmt::format("The member {} must be {}.", member.name, rule.description));
    }
  }
  return body;
}

}  // namespace AnswerService
