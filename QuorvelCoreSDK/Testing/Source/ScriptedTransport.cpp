#include <QuorvelCoreSDK/CoreError.h>

#include <QuorvelCoreSDKTesting/ScriptedTransport.h>

#include <utility>

namespace QuorvelCoreSDK::Testing {
namespace {

TransportReply refuse(const TransportRequest&) {
  return {.error = makeCoreError(CoreErrorCode::cannotConnect, "no answer is scripted")};
}

}  // namespace

void ScriptedTransport::answer(std::string path, Answer answer) {
  const std::lock_guard lock(mutex_);
  answers_.insert_or_assign(std::move(path), std::move(answer));
}

void ScriptedTransport::answer(std::string path, int status, std::string body) {
  answer(std::move(path), [status, body = std::move(body)](const TransportRequest& request) {
    return TransportReply{
        .data = body,
        .response = std::make_shared<const Platform::HTTPURLResponse>(
            request.url, status,
            Platform::HTTPURLResponse::HeaderFields{{"Content-Type", "application/json"}})};
  });
}

void ScriptedTransport::ignore(std::string path) {
  answer(std::move(path), Answer());
}

std::size_t ScriptedTransport::run() {
  for (std::size_t count = 0;;) {
    std::vector<std::function<void()>> steps;
    {
      const std::lock_guard lock(mutex_);
      std::swap(steps, waiting_);
    }
    if (steps.empty()) return count;
    for (auto& step : steps) std::exchange(step, nullptr)();
    count += steps.size();
  }
}

std::vector<TransportRequest> ScriptedTransport::requests(std::string_view path) const {
  const std::lock_guard lock(mutex_);
  std::vector<TransportRequest> found;
  for (const auto& request : requests_) {
    if (request.url.ends_with(path)) found.push_back(request);
  }
  return found;
}

void ScriptedTransport::send(TransportRequest request, Completion completion) {
  const std::lock_guard lock(mutex_);
  requests_.push_back(request);
  const Answer* scripted = find(request.url);
  if (scripted && !*scripted) {
    ignored_.push_back(std::move(completion));
    return;
  }
  waiting_.push_back([answer = scripted ? *scripted : Answer(refuse), request = std::move(request),
                      completion = std::move(completion)] { completion(answer(request)); });
}

void ScriptedTransport::post(std::function<void()> task) {
  const std::lock_guard lock(mutex_);
  waiting_.push_back(std::move(task));
}

const ScriptedTransport::Answer* ScriptedTransport::find(std::string_view url) const {
  const Answer* found = nullptr;
  std::size_t longest = 0;
  for (const auto& [path, answer] : answers_) {
    if (!url.ends_with(path) || (found && path.size() <= longest)) continue;
    found = &answer;
    longest = path.size();
  }
  return found;
}

}  // namespace QuorvelCoreSDK::Testing
