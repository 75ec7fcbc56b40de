#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace AnswerService {

/// One member that a request's JSON object has.
struct Member {
  enum class Type { Integer, String, ListOfStrings };

  std::string_view name;
  Type type;
  bool required = true;
};

/// Each check throws a Refusal that says what is wrong.

void checkBearer(std::string_view authorization, std::string_view token);
void checkContentType(std::string_view contentType);
nlohmann::ordered_json parseObject(const std::string& text, std::span<const Member> members);

}  // namespace AnswerService
