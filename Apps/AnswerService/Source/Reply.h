#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace AnswerService {

/// What is sent back for one request.
struct Reply {
  int status = 200;
  /// Absent: no body at all.
  std::optional<std::string> body = std::nullopt;
  /// A 401 names the scheme to use.
  std::optional<std::string> challenge = std::nullopt;
};

Reply jsonReply(int status, const nlohmann::ordered_json& body, int indent = -1);

/// {"error":{"code":...,"message":...}}
Reply errorReply(int status, std::string_view code, std::string_view message);

/// Thrown by the checks of a request; what() is for the person who reads the client's log.
class Refusal : public std::runtime_error {
 public:
  Refusal(int status, std::string code, const std::string& message);
  [[nodiscard]] Reply reply() const;

 private:
  int status_;
  std::string code_;
};

}  // namespace AnswerService
