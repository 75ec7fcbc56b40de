#pragma once

#include "Support/Rounds.h"

#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <QuorvelCoreSDK/internal/ServicePaths.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>
#include <VeltraneProvidersSDK/internal/ServicePaths.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Benchmarks {

using Reply = PellixProvidersSDK::Result<PellixProvidersSDK::DeflectionResponse>;
using ReplyCallback = PellixProvidersSDK::ResultCallback<PellixProvidersSDK::DeflectionResponse>;

inline constexpr char question[] = "I forgot my password. How do I get back in?";

/// Sets the libraries up for an account, each time for another application: for the same one, the
/// facade would stay as it is.
inline std::shared_ptr<PellixProvidersSDK::PellixProvider> makeProvider(
    const std::string& accountUrl, QuorvelCoreSDK::Configuration configuration) {
  static int applications = 0;
  const auto application = "benchmark " + std::to_string(++applications);
  configuration.token = [] { return "0123456789abcdef0123456789abcdef"; };
  configuration.settingsTimeToLive = std::chrono::hours(1);
  const auto quorvel = QuorvelCoreSDK::Quorvel::initialize({accountUrl, application, "benchmarks"},
                                                           std::move(configuration))
                           .value();
  PellixProvidersSDK::Pellix::initialize(quorvel,
                                         VeltraneProvidersSDK::Veltrane::initialize(quorvel));
  return PellixProvidersSDK::Pellix::instance()->provider();
}

/// A transport without a network that costs next to nothing: it enables the feature, keeps the
/// knowledge base in English, and gives every question the same reply, or none.
class FakeTransport final : public QuorvelCoreSDK::Transport {
 public:
  explicit FakeTransport(std::string reply) : reply_(std::move(reply)) {}

  /// Questions are kept without an answer from now on.
  void stopAnswering() { isAnswering_ = false; }

  [[nodiscard]] std::size_t questions() const { return questions_; }

  void send(QuorvelCoreSDK::TransportRequest request, Completion completion) override {
    using QuorvelCoreSDK::ServicePaths::accountSettings;
    using VeltraneProvidersSDK::ServicePaths::knowledgeSettings;
    const auto& url = request.url.string();
    if (url.ends_with(accountSettings)) {
      answers_.emplace_back(std::move(completion), R"({"pellix":{"enabled":true}})");
    } else if (url.ends_with(knowledgeSettings)) {
      answers_.emplace_back(std::move(completion), R"({"locale":"en-us"})");
    } else if (++questions_; isAnswering_) {
      answers_.emplace_back(std::move(completion), reply_);
    } else {
      kept_.emplace_back(std::move(request), std::move(completion));
    }
  }

  void post(std::function<void()> task) override { tasks_.push_back(std::move(task)); }

  /// Runs tasks and gives answers until there is nothing left to do.
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
  const std::string reply_;
  const std::shared_ptr<const PellixPlatform::URLResponse> response_ =
      std::make_shared<const PellixPlatform::HTTPURLResponse>(
          "https://acme.example/", 200, PellixPlatform::HTTPURLResponse::HeaderFields{});
  bool isAnswering_ = true;
  std::size_t questions_ = 0;
  std::vector<std::function<void()>> tasks_, takenTasks_;  // their memory serves again
  std::vector<std::pair<Completion, std::string>> answers_, takenAnswers_;
  std::vector<std::pair<QuorvelCoreSDK::TransportRequest, Completion>> kept_;
};

/// An application whose network is a fake.
struct OfflineHost {
  explicit OfflineHost(std::string reply)
      : transport(std::make_shared<FakeTransport>(std::move(reply))),
        provider(makeProvider("https://acme.example", {.transport = transport})) {}

  /// Asks, and lets everything happen that follows.
  void ask(ReplyCallback callback) const {
    provider->getDeflectionForQuery(question, std::move(callback));
    transport->run();
    PellixPlatform::DispatchQueue::main().runPending();
  }

  const std::shared_ptr<FakeTransport> transport;
  const std::shared_ptr<PellixProvidersSDK::PellixProvider> provider;
};

}  // namespace Benchmarks
