#include <PellixPlatform/DispatchQueue.h>

#include <QuorvelCoreSDKTesting/ScriptedTransport.h>

#include <utility>

namespace QuorvelCoreSDK::Testing {
namespace {

constexpr auto never = ScriptedTransport::Duration::max();

ScriptedTransport::Answer failure(CoreErrorCode code, std::string_view detail) {
  return [error = makeCoreError(code, detail)](const TransportRequest&) {
    return TransportReply{.error = error};
  };
}

}  // namespace

void ScriptedTransport::answer(std::string path, Answer answer, Duration after) {
  // What it replaces goes after the lock, for what that captured may come back here.
  Script script{std::move(answer), after};
  const std::lock_guard lock(mutex_);
  std::swap(scripts_[std::move(path)], script);
}

void ScriptedTransport::answer(std::string path, int status, std::string body, Duration after) {
  const auto reply = [status, body = std::move(body)](const TransportRequest& request) {
    return TransportReply{
        .data = body,
        .response = std::make_shared<const PellixPlatform::HTTPURLResponse>(
            request.url.string(), status,
            PellixPlatform::HTTPURLResponse::HeaderFields{{"Content-Type", "application/json"}})};
  };
  answer(std::move(path), reply, after);
}

void ScriptedTransport::fail(std::string path, CoreErrorCode code, Duration after) {
  answer(std::move(path), failure(code, "as scripted"), after);
}

void ScriptedTransport::ignore(std::string path) {
  answer(std::move(path), Answer(), never);
}

std::size_t ScriptedTransport::run() {
  std::size_t count = 0;
  while (const auto step = takeDue()) {
    step.mapped()();
    ++count;
  }
  return count;
}

std::size_t ScriptedTransport::advance(Duration time) {
  const auto end = now() + time;
  auto count = run();
  while (skipTo(end)) count += run();
  return count;
}

void ScriptedTransport::settle() {
  while (run() + PellixPlatform::DispatchQueue::main().runPending() > 0) {
  }
}

void ScriptedTransport::drop() {
  Steps dropped;  // goes after the lock does
  const std::lock_guard lock(mutex_);
  std::swap(dropped, waiting_);
}

std::vector<TransportRequest> ScriptedTransport::requests(std::string_view path) const {
  const std::lock_guard lock(mutex_);
  std::vector<TransportRequest> found;
  for (const auto& request : requests_) {
    if (request.url.string().ends_with(path)) found.push_back(request);
  }
  return found;
}

void ScriptedTransport::send(TransportRequest request, Completion completion) {
  const std::lock_guard lock(mutex_);
  requests_.push_back(request);
  auto script = find(request.url.string());
  waiting_.emplace(script.after == never ? never : now_ + script.after,
                   [answer = std::move(script.answer), request = std::move(request),
                    completion = std::move(completion)] { completion(answer(request)); });
}

void ScriptedTransport::post(std::function<void()> task) {
  const std::lock_guard lock(mutex_);
  waiting_.emplace(now_, std::move(task));
}

ScriptedTransport::Script ScriptedTransport::find(std::string_view url) const {
  const std::pair<const std::string, Script>* found = nullptr;
  for (const auto& script : scripts_) {
    if (!url.ends_with(script.first)) continue;
    if (!found || found->first.size() < script.first.size()) found = &script;
  }
  return found ? found->second
               : Script{failure(CoreErrorCode::cannotConnect, "no answer is scripted"), {}};
}

ScriptedTransport::Steps::node_type ScriptedTransport::takeDue() {
  const std::lock_guard lock(mutex_);
  const auto first = waiting_.begin();
  if (first == waiting_.end() || now_ < first->first) return {};
  return waiting_.extract(first);
}

ScriptedTransport::Duration ScriptedTransport::now() const {
  const std::lock_guard lock(mutex_);
  return now_;
}

/// Lets time pass until the next answer is due, or until `time` if none is; whether one is.
bool ScriptedTransport::skipTo(Duration time) {
  const std::lock_guard lock(mutex_);
  const auto next = waiting_.empty() ? never : waiting_.begin()->first;
  const bool isDue = next != never && next <= time;
  now_ = isDue ? next : time;
  return isDue;
}

}  // namespace QuorvelCoreSDK::Testing
