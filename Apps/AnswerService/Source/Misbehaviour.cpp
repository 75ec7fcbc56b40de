#include "Misbehaviour.h"

#include <fmt/format.h>

#include <charconv>
#include <stdexcept>
#include <utility>

namespace AnswerService {
namespace {

using Json = nlohmann::ordered_json;
using Kind = Misbehaviour::Kind;

enum class Argument { Absent, Number, Text };

constexpr std::string_view kEveryEndpoint;

struct Rule {
  std::string_view name;
  std::string_view onlyEndpoint = kEveryEndpoint;
  Kind kind;
  Argument argument = Argument::Absent;
  int smallest = 0;
  int largest = 0;
};

/// Below 200 a status does not end an answer: a client would go on waiting for the real one.
constexpr Rule kRules[] = {
    {.name = "disabled", .onlyEndpoint = "settings", .kind = Kind::Disabled},
    {.name = "status",
     .kind = Kind::Status,
     .argument = Argument::Number,
     .smallest = 200,
     .largest = 599},
    {.name = "delay", .kind = Kind::Delay, .argument = Argument::Number, .largest = 3'600'000},
    {.name = "truncated", .kind = Kind::Truncated},
    {.name = "malformed", .kind = Kind::Malformed},
    {.name = "none", .kind = Kind::None},
    {.name = "body", .kind = Kind::Body, .argument = Argument::Text},
};

int parseNumber(const Rule& rule, std::string_view text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < rule.smallest ||
      number > rule.largest) {
    throw std::invalid_argument(fmt::format(R"("{}:" needs a number from {} to {}, not "{}".)",
                                            rule.name, rule.smallest, rule.largest, text));
  }
  return number;
}

Misbehaviour parseArgument(const Rule& rule, bool given, std::string_view text) {
  switch (rule.argument) {
    case Argument::Absent:
      if (given) {
        throw std::invalid_argument(fmt::format("\"{}\" takes nothing after it.", rule.name));
      }
      return {.kind = rule.kind, .number = 0, .text = {}};
    case Argument::Number:
      return {.kind = rule.kind, .number = parseNumber(rule, text), .text = {}};
    case Argument::Text:
      if (!given) {
        throw std::invalid_argument(
            fmt::format("\"{0}\" needs a text after it, as in {0}:TEXT.", rule.name));
      }
      return {.kind = rule.kind, .number = 0, .text = std::string(text)};
  }
  throw std::logic_error("A misbehaviour's argument is of no known type.");
}

Reply statusReply(int status) {
  if (status == 204 || status == 304) return {.status = status};  // HTTP: bodiless
  return errorReply(status, "misbehaviour", "This endpoint was told to answer so.");
}

/// The account's settings, with the answer service switched off.
Reply disabledReply(const Reply& right) {
  Json settings = Json::parse(right.body.value_or("{}"));
  settings["pellix"]["enabled"] = false;
  return jsonReply(right.status, settings);
}

}  // namespace

Misbehaviour parseMisbehaviour(std::string_view endpoint, std::string_view what) {
  const auto colon = what.find(':');
  const bool given = colon != std::string_view::npos;
  for (const Rule& rule : kRules) {
    if (rule.name != what.substr(0, colon)) continue;
    if (rule.onlyEndpoint != kEveryEndpoint && rule.onlyEndpoint != endpoint) {
      throw std::invalid_argument(fmt::format(R"("{}" is for the endpoint "{}" only, not "{}".)",
                                              rule.name, rule.onlyEndpoint, endpoint));
    }
    return parseArgument(rule, given, given ? what.substr(colon + 1) : std::string_view());
  }
  throw std::invalid_argument(
      fmt::format("\"{}\" is no misbehaviour; there are disabled, status:N, delay:MS, truncated, "
                  "malformed, none and body:TEXT.",
                  what));
}

bool carriesOutRequest(const Misbehaviour& misbehaviour) {
  // A server that fails did nothing; all the others did, and only said so badly.
  return misbehaviour.kind != Kind::Status;
}

Reply spoil(const Misbehaviour& misbehaviour, Reply right) {
  switch (misbehaviour.kind) {
    case Kind::Disabled:
      return disabledReply(right);
    case Kind::Status:
      return statusReply(misbehaviour.number);
    case Kind::Delay:
      return right;
    case Kind::Truncated:
      if (right.body) right.body->resize(right.body->size() / 2);
      return right;
    case Kind::Malformed:
      return {.body = "<html>This is not the JSON that was asked for"};
    case Kind::None:
      return {.status = 204};
    case Kind::Body:
      return {.body = misbehaviour.text};
  }
  throw std::logic_error("A misbehaviour is of no known kind.");
}

}  // namespace AnswerService
