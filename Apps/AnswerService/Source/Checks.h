#pragma once

#include "Database.h"

#include <httplib.h>

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace AnswerService {

/// Why a request is not served; what() is for the person who reads the client's log.
struct Refusal : std::runtime_error {
  Refusal(int httpStatus, std::string errorCode, const std::string& message)
      : std::runtime_error(message), status(httpStatus), code(std::move(errorCode)) {}

  [[nodiscard]] Json body() const { return {{"error", {{"code", code}, {"message", what()}}}}; }

  int status;
  std::string code;
};

/// One member that a request's JSON object has.
struct Member {
  enum Type { integer, string, strings };

  std::string_view name;
  Type type;
  bool isRequired = true;
};

// Each of these throws a Refusal that says what is wrong.

/// A web page can make its own name stand for this machine; then only the header Host tells.
void checkHost(const httplib::Request& request);
void checkBearer(const httplib::Request& request, std::string_view token);
/// Refuses what is not JSON and what is compressed, since a little can become any amount.
void checkContentType(const httplib::Request& request);
Json parseObject(const std::string& text, std::span<const Member> members);

/// Takes a time that tells nothing of the right token.
bool isToken(std::string_view given, std::string_view token);

/// 32 hexadecimal digits that nobody can guess.
std::string randomToken();

}  // namespace AnswerService
