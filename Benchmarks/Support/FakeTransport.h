#pragma once

#include <QuorvelCoreSDK/ServicePaths.h>
#include <QuorvelCoreSDK/Transport.h>

#include <string>
#include <utility>
#include <vector>

namespace Benchmarks {

/// A transport without a network that costs next to nothing: it enables the feature, keeps the
/// knowledge base in English, and gives every question the same reply, or none.
class FakeTransport final : public QuorvelCoreSDK::Transport {
 public:
  explicit FakeTransport(std::string reply) : reply_(std::move(reply)) {}

  /// Questions are kept without an answer from now on.
  void stopAnswering() { isAnswering_ = false; }

  [[nodiscard]] std::size_t questions() const { return questions_; }

  void send(QuorvelCoreSDK::TransportRequest request, Completion completion) override {
    namespace paths = QuorvelCoreSDK::ServicePaths;
    if (request.url.ends_with(paths::accountSettings)) {
      answers_.push_back({std::move(completion), R"({"pellix":{"enabled":true}})"});
    } else if (request.url.ends_with(paths::knowledgeSettings)) {
      answers_.push_back({std::move(completion), R"({"locale":"en-us"})"});
    } else if (++questions_; isAnswering_) {
      answers_.push_back({std::move(completion), reply_});
    } else {
      kept_.emplace_back(std::move(request), std::move(completion));
    }
  }

  void post(std::function<void()> task) override { tasks_.push_back(std::move(task)); }

  /// Runs tasks and gives answers until there is nothing left to do. No memory of its own is taken
  /// for that, once it has run a few times.
  void run() {
    while (!tasks_.empty() || !answers_.empty()) {
      std::swap(tasks_, takenTasks_);
      for (auto& task : takenTasks_) task();
      takenTasks_.clear();
      std::swap(answers_, takenAnswers_);
      for (auto& [completion, body] : takenAnswers_) {
        completion({.data = std::move(body), .response = response_});
      }
      takenAnswers_.clear();
    }
  }

 private:
  struct Answer {
    Completion completion;
    std::string body;
  };

  const std::string reply_;
  const std::shared_ptr<const Platform::URLResponse> response_ =
      std::make_shared<const Platform::HTTPURLResponse>("https://acme.example/", 200,
                                                        Platform::HTTPURLResponse::HeaderFields{});
  bool isAnswering_ = true;
  std::size_t questions_ = 0;
  std::vector<std::function<void()>> tasks_, takenTasks_;
  std::vector<Answer> answers_, takenAnswers_;
  std::vector<std::pair<QuorvelCoreSDK::TransportRequest, Completion>> kept_;
};

}  // namespace Benchmarks
