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

using PellixProvidersSDK::OptionalsCallback;
using PellixProvidersSDK::PellixDispatcherResponse;
using PellixProvidersSDK::Result;
using PellixProvidersSDK::ResultCallback;

inline constexpr std::string_view queryPath = "/answers/v1/interactions";
inline constexpr std::string_view resolvePath = "/answers/v1/resolutions";
inline constexpr std::string_view rejectPath = "/answers/v1/rejections";
inline constexpr std::string_view votePath = "/votes/up";
using QuorvelCoreSDK::ServicePaths::accountSettings;
using VeltraneProvidersSDK::ServicePaths::knowledgeSettings;

inline constexpr char enabled[] = R"({"pellix":{"enabled":true}})";
inline constexpr char disabled[] = R"({"pellix":{"enabled":false}})";
inline const std::string isDisabled = "QV_Pellix_Disabled 1006";

inline std::string textOf(const DeflectionResponse& response) {
  auto text = "response " + std::to_string(response.deflection()->deflectionID());
  for (const auto& article : response.deflectionArticles()) {
    text += " " + std::to_string(article->id());
  }
  return text;
}

inline std::string textOf(const PellixDispatcherResponse& response) {
  return "reply " + std::to_string(response.response()->statusCode()) + " " +
         (response.data() ? "with " + *response.data() : "without a body");
}

/// Domain, code and user info; of a decoder's error, no more of that than the place.
inline std::string textOf(const PellixPlatform::Error& error) {
  auto text = error.domain() + " " + std::to_string(error.code());
  for (const auto& [key, value] : error.userInfo()) {
    const auto* string = std::get_if<std::string>(&value);
    if (key == "codingPath")
      return error.domain() + " " + std::to_string(error.code()) + " " + *string;
    if (string && !error.domain().starts_with("Platform")) text += " " + key + "=" + *string;
  }
  return text;
}

/// What became of one operation. The call itself shows in the log, where its order can be seen.
class Outcome {
 public:
  Outcome() = default;
  Outcome(const Outcome&) = delete;
  Outcome& operator=(const Outcome&) = delete;

  /// The callback to watch, for any operation. It holds one shared pointer and no more: something
  /// that small is copied by some standard libraries where it is said to be moved.
  [[nodiscard]] auto callback() {
    return [self = hold()](const auto& result) {
      (*self)->add(result ? textOf(**result) : textOf(result.error()));
    };
  }

  /// The same in the other form.
  [[nodiscard]] auto optionalsCallback() {
    return [self = hold()](const auto& record, const auto& error) {
      (*self)->add(!record == !error ? "both or neither"
                   : record          ? textOf(*record)
                                     : textOf(*error));
    };
  }

  /// What came, and whether anything still holds the callback.
  [[nodiscard]] std::string text() const {
    return (held_.expired() ? "" : "still held, ") + (came_.empty() ? "silence" : came_);
  }

  std::thread::id thread;

 private:
  std::shared_ptr<Outcome*> hold() {
    auto self = std::make_shared<Outcome*>(this);
    held_ = self;
    return self;
  }

  void add(const std::string& what) {
    QuorvelCoreSDK::CoreLogger::info("called");
    came_ += what;
    thread = std::this_thread::get_id();
  }

  std::string came_;
  std::weak_ptr<Outcome*> held_;
};

/// An operation in one of its two forms.
struct Operation {
  const char* name;
  std::string_view path;
  void (*start)(PellixProvider& provider, Outcome& outcome);
};

inline constexpr auto reason2 = PellixProvidersSDK::RejectionReason::reason2;
inline constexpr Operation operations[] = {
    {"query", queryPath, [](auto& to, auto& o) { to.getDeflectionForQuery("How?", o.callback()); }},
    {"query, other form", queryPath,
     [](auto& to, auto& o) { to.getDeflectionForQuery("How?", o.optionalsCallback()); }},
    {"resolution", resolvePath,
     [](auto& to, auto& o) { to.resolveWithArticle(7, 4711, "token", o.callback()); }},
    {"resolution, other form", resolvePath,
     [](auto& to, auto& o) { to.resolveWithArticle(7, 4711, "token", o.optionalsCallback()); }},
    {"rejection", rejectPath,
     [](auto& to, auto& o) { to.rejectWithArticle(7, 4711, "token", reason2, o.callback()); }},
    {"rejection, other form", rejectPath,
     [](auto& to, auto& o) {
       to.rejectWithArticle(7, 4711, "token", reason2, o.optionalsCallback());
     }},
};
inline constexpr const Operation& query = operations[0];
inline constexpr const Operation& resolution = operations[2];
inline constexpr const Operation& rejection = operations[4];

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
    for (const auto path : {queryPath, resolvePath, rejectPath}) {
      transport->answer(std::string(path), 200, responseJSON());
    }
    transport->answer(std::string(votePath), 200, R"({"votes":[]})");
    Pellix::initialize(quorvel, veltrane);
    provider = Pellix::instance()->provider();
    UUID = newLines().at(0).substr(std::string("debug: Initialized Providers with UUID: ").size());
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

  void ask(Outcome& outcome, std::string text = "How?") const {
    provider->getDeflectionForQuery(std::move(text), outcome.callback());
  }

  /// Lets everything run that follows from an operation.
  [[nodiscard]] std::string outcomeOf(const Operation& operation = query) const {
    Outcome outcome;
    operation.start(*provider, outcome);
    transport->settle();
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
  [[nodiscard]] std::vector<std::string> newLines() { return log.newLines(); }

  Support::LogRecorder log;
  std::shared_ptr<QuorvelCoreSDK::Testing::ScriptedTransport> transport =
      std::make_shared<QuorvelCoreSDK::Testing::ScriptedTransport>();
  std::shared_ptr<Quorvel> quorvel;
  std::shared_ptr<Veltrane> veltrane;
  std::shared_ptr<PellixProvider> provider;
  std::string UUID;
};

}  // namespace PellixTests
