#pragma once

#include "PellixProvidersSDK/Samples.h"
#include "Support/Recorder.h"

#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <QuorvelCoreSDK/internal/ServicePaths.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>
#include <VeltraneProvidersSDK/internal/ServicePaths.h>

#include <QuorvelCoreSDKTesting/ScriptedTransport.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace PellixTests {

using PellixProvidersSDK::DeflectionResponse;
using PellixProvidersSDK::Pellix;
using PellixProvidersSDK::PellixProvider;
using QuorvelCoreSDK::Quorvel;
using QuorvelCoreSDK::TransportReply;
using QuorvelCoreSDK::TransportRequest;
using VeltraneProvidersSDK::Veltrane;

using QueryResult = PellixProvidersSDK::Result<DeflectionResponse>;
using QueryCallback = PellixProvidersSDK::ResultCallback<DeflectionResponse>;
using QueryOptionalsCallback = PellixProvidersSDK::OptionalsCallback<DeflectionResponse>;

inline constexpr std::string_view queryPath = "/answers/v1/interactions";
using QuorvelCoreSDK::ServicePaths::accountSettings;
using VeltraneProvidersSDK::ServicePaths::knowledgeSettings;

inline constexpr char enabled[] = R"({"pellix":{"enabled":true}})";
inline constexpr char disabled[] = R"({"pellix":{"enabled":false}})";

/// What became of one query.
class Outcome {
 public:
  Outcome() = default;
  Outcome(const Outcome&) = delete;
  Outcome& operator=(const Outcome&) = delete;

  /// The callback to watch. It holds one shared pointer and no more: something that small is copied
  /// by some standard libraries where it is said to be moved.
  [[nodiscard]] QueryCallback callback() {
    auto self = std::make_shared<Outcome*>(this);
    held_ = self;
    return [self = std::move(self)](QueryResult result) {
      (*self)->results.push_back(std::move(result));
      (*self)->thread = std::this_thread::get_id();
    };
  }

  [[nodiscard]] bool isReleased() const { return held_.expired(); }

  /// In a word: what came, and whether anything still holds the callback.
  [[nodiscard]] std::string text() const {
    std::string text = isReleased() ? "" : "still held, ";
    if (results.empty()) return text + "silence";
    for (const auto& result : results) text += textOf(result);
    return text;
  }

  std::vector<QueryResult> results;
  std::thread::id thread;

 private:
  static std::string textOf(const QueryResult& result) {
    if (result) return "response " + std::to_string((*result)->deflection()->deflectionID());
    const auto& error = result.error();
    const auto path = error.userInfo().find("codingPath");
    return error.domain() + " " + std::to_string(error.code()) +
           (path == error.userInfo().end() ? "" : " " + std::get<std::string>(path->second));
  }

  std::weak_ptr<Outcome*> held_;
};

/// A settings service of the host's own, which answers within the call; without a document, with
/// null.
class OwnSettings final : public QuorvelCoreSDK::SettingsProvider {
 public:
  explicit OwnSettings(const char* document = nullptr) : document_(document) {}

  std::size_t asked = 0;
  std::size_t answers = 1;  // how often each continuation is called; more than once is a fault
  bool keepsContinuations = false;
  std::function<void()> afterAnswer = [] {};

 private:
  void answer(RecordType type, Continuation continuation) override {
    ++asked;
    if (keepsContinuations) kept_.push_back(continuation);
    for (std::size_t i = 0; i < answers; ++i) {
      continuation(document_ ? type.decode(document_).value() : nullptr);
    }
    afterAnswer();
  }

  const char* const document_;
  std::vector<Continuation> kept_;
};

inline TransportReply reply(int status, std::optional<std::string> data,
                            std::optional<PellixPlatform::Error> error = {}) {
  return {.data = std::move(data),
          .response = std::make_shared<const PellixPlatform::HTTPURLResponse>(
              "https://acme.example/", status, PellixPlatform::HTTPURLResponse::HeaderFields{}),
          .error = std::move(error)};
}

/// An application that has set up all three libraries: the feature is enabled, the knowledge base
/// is in German, and every question has an answer.
class Host {
 public:
  explicit Host(const std::shared_ptr<QuorvelCoreSDK::SettingsProvider>& settings = nullptr)
      : quorvel(makeQuorvel(transport, settings)), veltrane(Veltrane::initialize(quorvel)) {
    transport->answer(std::string(knowledgeSettings), 200, R"({"locale":"de"})");
    transport->answer(std::string(accountSettings), 200, enabled);
    transport->answer(std::string(queryPath), 200, responseJSON());
    Pellix::initialize(quorvel, veltrane);
    provider = Pellix::instance()->provider();
    UUID = log.lines().at(0).substr(std::string("debug: Initialized Providers with UUID: ").size());
    static_cast<void>(newLines());
  }

  /// Every one is for an application of its own.
  static std::shared_ptr<Quorvel> makeQuorvel(
      std::shared_ptr<QuorvelCoreSDK::Transport> transport,
      std::shared_ptr<QuorvelCoreSDK::SettingsProvider> settings = nullptr) {
    static std::atomic<int> count = 0;
    const auto application = "application " + std::to_string(++count);
    return Quorvel::initialize({"https://acme.example", application, "client"},
                               {.token = [] { return "secret"; },
                                .transport = std::move(transport),
                                .settings = std::move(settings)})
        .value();
  }

  void ask(Outcome& outcome, std::string query = "How?") const {
    provider->getDeflectionForQuery(std::move(query), outcome.callback());
  }

  /// Asks, and lets everything run that follows from it.
  [[nodiscard]] std::string outcomeOf(std::string query = "How?") const {
    Outcome outcome;
    ask(outcome, std::move(query));
    Support::settle(*transport);
    return outcome.text();
  }

  /// The addresses of the requests sent so far, below the account's.
  [[nodiscard]] std::vector<std::string> requestedPaths() const {
    std::vector<std::string> paths;
    for (const auto& request : transport->requests()) {
      paths.push_back(request.url.string().substr(std::string("https://acme.example").size()));
    }
    return paths;
  }

  [[nodiscard]] std::size_t sentQueries() const { return transport->requests(queryPath).size(); }

  /// What was logged since this was last called.
  [[nodiscard]] std::vector<std::string> newLines() {
    auto lines = log.lines();
    lines.erase(lines.begin(), lines.begin() + std::exchange(seen_, std::ssize(lines)));
    return lines;
  }

  Support::LogRecorder log;
  std::shared_ptr<QuorvelCoreSDK::Testing::ScriptedTransport> transport =
      std::make_shared<QuorvelCoreSDK::Testing::ScriptedTransport>();
  std::shared_ptr<Quorvel> quorvel;
  std::shared_ptr<Veltrane> veltrane;
  std::shared_ptr<PellixProvider> provider;
  std::string UUID;

 private:
  std::ptrdiff_t seen_ = 0;
};

}  // namespace PellixTests
