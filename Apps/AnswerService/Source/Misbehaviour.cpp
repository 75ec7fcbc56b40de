#include "Misbehaviour.h"

#include "Endpoints.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <chrono>

namespace AnswerService {
namespace {

struct Rule {
  std::string_view name;  ///< With a colon if an argument follows.
  /// Of a number; it is none if they are equal. Below 200 a status does not end an answer: a client
  /// would go on waiting for the real one.
  int smallest = 0;
  int largest = 0;
};

constexpr Rule rules[] = {{"disabled"},  {"status:", 200, 599}, {"delay:", 0, 3600'000},
                          {"truncated"}, {"malformed"},         {"none"},
                          {"body:"}};

std::optional<Misbehaviour> parse(std::string_view endpoint, std::string_view what) {
  const auto argument = what.find(':') + 1;  // 0 if there is none
  for (const auto& [name, smallest, largest] : rules) {
    if (name != what.substr(0, argument > 0 ? argument : what.size())) continue;
    if (name == "disabled" && endpoint != "settings") continue;
    Misbehaviour result{.name = name, .text = std::string(what.substr(argument))};
    if (smallest == largest) return result;
    const auto* const end = what.data() + what.size();
    const auto [stop, error] = std::from_chars(what.data() + argument, end, result.number);
    const bool isInRange = smallest <= result.number && result.number <= largest;
    if (error == std::errc() && stop == end && isInRange) return result;
  }
  return std::nullopt;
}

}  // namespace

void Misbehaviour::spoil(httplib::Response& response) const {
  const auto answer = [&response](int code, const std::string& content) {
    response.status = code;
    response.set_content(content, "application/json");
  };
  if (name == "disabled") answer(200, R"({"pellix":{"enabled":false}})");
  if (name == "truncated") response.body.resize(response.body.size() / 2);
  if (name == "malformed") answer(200, "<html>This is not the JSON that was asked for");
  if (name == "none") answer(204, "");
  if (name == "body:") answer(200, text);
  if (name != "status:") return;
  const Refusal told(number, "misbehaviour", "This endpoint was told to answer so.");
  const bool isBodiless = number == 204 || number == 304;  // as HTTP has it
  answer(number, isBodiless ? "" : told.body().dump());
}

void Misbehaviours::set(std::string_view endpoint, std::string_view what) {
  const auto misbehaviour = parse(endpoint, what);
  if (!misbehaviour || !std::ranges::count(endpoints(), endpoint, &Endpoint::name)) {
    throw std::invalid_argument(fmt::format(
        R"(There is no endpoint "{}" that can do "{}". Endpoints are {}. They can be disabled )"
        "(settings only), status:N (200 to 599), delay:MS (up to an hour), truncated, malformed, "
        "none and body:TEXT.",
        endpoint, what, fmt::join(endpoints() | std::views::transform(&Endpoint::name), ", ")));
  }
  const std::lock_guard lock(mutex_);
  ofEndpoints_.insert_or_assign(std::string(endpoint), *misbehaviour);
}

void Misbehaviours::clear() {
  const std::lock_guard lock(mutex_);
  ofEndpoints_.clear();
}

std::optional<Misbehaviour> Misbehaviours::of(std::string_view endpoint) {
  std::unique_lock lock(mutex_);
  const auto found = ofEndpoints_.find(endpoint);
  if (found == ofEndpoints_.end()) return std::nullopt;
  Misbehaviour misbehaviour = found->second;
  if (misbehaviour.name == "delay:") {
    changed_.wait_for(lock, std::chrono::milliseconds(misbehaviour.number),
                      [this] { return !delaysAllowed_; });
  }
  return misbehaviour;
}

void Misbehaviours::allowDelays(bool allowed) {
  const std::lock_guard lock(mutex_);
  delaysAllowed_ = allowed;
  changed_.notify_all();
}

}  // namespace AnswerService
