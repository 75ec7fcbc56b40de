#include "Checks.h"

#include <fmt/format.h>
#include <openssl/crypto.h>
#include <openssl/rand.h>
#include <strings.h>

#include <algorithm>
#include <cstdint>

namespace AnswerService {
namespace {

constexpr std::string_view typeNames[] = {"an integer", "a string", "a list of strings"};

bool hasType(const Json& value, Member::Type type) {
  const auto isString = [](const Json& item) { return item.is_string(); };
  // Reading a larger one as a signed number would turn it into another number.
  if (type == Member::integer) {
    return value.is_number_integer() && (!value.is_number_unsigned() || value <= INT64_MAX);
  }
  return type == Member::string ? isString(value)
                                : value.is_array() && std::ranges::all_of(value, isString);
}

bool equalButForCase(const std::string& a, const std::string& b) {
  return strcasecmp(a.c_str(), b.c_str()) == 0;
}

}  // namespace

void checkHost(const httplib::Request& request) {
  const std::string given = request.get_header_value("Host");
  for (const char* name : {"127.0.0.1", "localhost", "[::1]"}) {
    if (equalButForCase(given, fmt::format("{}:{}", name, request.local_port))) return;
  }
  throw Refusal(421, "wrong_host", "This service answers for a loopback name and its port only.");
}

void checkBearer(const httplib::Request& request, std::string_view token) {
  if (isToken(request.get_header_value("Authorization"), fmt::format("Bearer {}", token))) return;
  throw Refusal(401, "unauthorized", "The header Authorization must bear this account's token.");
}

void checkContentType(const httplib::Request& request) {
  const std::string type = request.get_header_value("Content-Type");
  if (!equalButForCase(type.substr(0, type.find_first_of("; \t")), "application/json")) {
    throw Refusal(415, "wrong_content_type", "The content type must be application/json.");
  }
  if (request.has_header("Content-Encoding")) {
    throw Refusal(415, "compressed", "The body of the request must not be compressed.");
  }
}

Json parseObject(const std::string& text, std::span<const Member> members) {
  Json body = Json::parse(text, nullptr, false);
  if (!body.is_object()) {
    throw Refusal(400, "not_json", "The body of the request must be a JSON object.");
  }
  for (const auto& [name, type, isRequired] : members) {
    const auto found = body.find(name);
    if (found == body.end() ? !isRequired : hasType(*found, type)) continue;
    throw Refusal(422, "wrong_member",
                  fmt::format("The member {} must be there, as {}.", name, typeNames[type]));
  }
  return body;
}

bool isToken(std::string_view given, std::string_view token) {
  return given.size() == token.size() &&
         CRYPTO_memcmp(given.data(), token.data(), token.size()) == 0;
}

std::string randomToken() {
  unsigned char bytes[16];
  if (RAND_bytes(bytes, sizeof bytes) != 1) throw std::runtime_error("There is no randomness.");
  return fmt::format("{:02x}", fmt::join(bytes, ""));
}

}  // namespace AnswerService
