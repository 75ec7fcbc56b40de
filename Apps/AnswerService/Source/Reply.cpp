#include "Reply.h"

#include <utility>

namespace AnswerService {

using Json = nlohmann::ordered_json;

Reply jsonReply(int status, const Json& body, int indent) {
  // Replacing what is not UTF-8: an answer must not fail for a character.
  return {.status = status, .body = body.dump(indent, ' ', false, Json::error_handler_t::replace)};
}

Reply errorReply(int status, std::string_view code, std::string_view message) {
  return jsonReply(status, {{"error", {{"code", code}, {"message", message}}}});
}

Refusal::Refusal(int status, std::string code, const std::string& message)
    : std::runtime_error(message), status_(status), code_(std::move(code)) {}

Reply Refusal::reply() const {
  Reply reply = errorReply(status_, code_, what());
  if (status_ == 401) reply.challenge = R"(Bearer realm="answer service")";
  return reply;
}

}  // namespace AnswerService
