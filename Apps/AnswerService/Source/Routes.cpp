#include "Routes.h"

#include "Misbehaviour.h"

#include <fmt/chrono.h>

#include <algorithm>
#include <utility>

namespace AnswerService {
namespace {

using httplib::Request;
using httplib::Response;

void send(Response& response, int status, const Json& body, int indent = -1) {
  response.status = status;
  // Replacing what is not UTF-8: an answer must not fail for a character.
  const auto text = body.dump(indent, ' ', false, Json::error_handler_t::replace);
  if (!body.is_null()) response.set_content(text, "application/json");
  const auto now = fmt::gmtime(std::time(nullptr));
  response.set_header("Date", fmt::format("{:%a, %d %b %Y %H:%M:%S GMT}", now));
  if (status == 401) response.set_header("WWW-Authenticate", R"(Bearer realm="answer service")");
}

std::string read(const httplib::ContentReader& content) {
  std::string body;
  const bool isWhole = content([&body](const char* data, std::size_t size) {
    body.append(data, size);
    return true;
  });
  if (!isWhole) throw Refusal(413, "unreadable", "The body is too large, or cut off.");
  return body;
}

void answer(const Context& context, const Endpoint& endpoint, const Request& request,
            Response& response, const httplib::ContentReader* content) {
  std::optional<Misbehaviour> misbehaviour;
  try {
    context.store.count(endpoint.name, 1);
    misbehaviour = context.misbehaviours.of(endpoint.name);
    checkHost(request);
    if (endpoint.isPost) checkBearer(request, context.options.token);
    if (!endpoint.members.empty()) checkContentType(request);
    const std::string text = content ? read(*std::exchange(content, nullptr)) : "";
    Call call{context, request.matches.size() > 1 ? request.matches[1] : std::string(), {}};
    if (!endpoint.members.empty()) call.body = parseObject(text, endpoint.members);
    // A server that fails did nothing; with all the other faults it did, and only says so badly.
    const bool fails = misbehaviour && misbehaviour->name == "status:";
    const Json body = fails ? Json() : endpoint.carryOut(call);
    send(response, body.is_null() ? 204 : 200, body, endpoint.isPost ? -1 : 2);
  } catch (const Refusal& refusal) {
    send(response, refusal.status, refusal.body());
  } catch (const std::exception& error) {
    send(response, 500, Refusal(500, "failed", error.what()).body());
  }
  // So that the client gets to the answer, and its next request begins where it should.
  if (content) (*content)([](const char*, std::size_t) { return true; });
  if (misbehaviour) misbehaviour->spoil(response);
}

/// What never reached an endpoint; their own errors have a body.
void refuse(const Request&, Response& response) {
  if (!response.body.empty()) return;
  send(response, response.status, Refusal(0, "no_request", "No such request is served.").body());
}

/// The path is a client's own text, and a line of the log must stay one line.
std::string logLine(const Request& request, const Response& response) {
  std::string path = request.path;
  std::ranges::replace_if(path, [](unsigned char c) { return c < 0x20 || c == 0x7f; }, '?');
  return fmt::format("{} {} {}", request.method, path, response.status);
}

}  // namespace

void addRoutes(httplib::Server& server, const Context& context) {
  for (const Endpoint& endpoint : endpoints()) {
    context.store.count(endpoint.name, 0);  // so that it is listed
    if (endpoint.isPost) {
      server.Post(endpoint.path, [&](const auto& request, auto& response, const auto& content) {
        answer(context, endpoint, request, response, &content);
      });
    } else {
      server.Get(endpoint.path, [&](const auto& request, auto& response) {
        answer(context, endpoint, request, response, nullptr);
      });
    }
  }
  server.set_error_handler(refuse);
  if (!context.options.log) return;
  server.set_logger([&](const auto& request, const auto& response) {
    context.options.log(logLine(request, response));
  });
}

}  // namespace AnswerService
