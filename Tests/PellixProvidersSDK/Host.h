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
inline constexpr std::string_view voteOf4711 = "/knowledge/v1/articles/4711/votes/up";
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
  const bool isDecoders = error.domain().starts_with("Platform");
  for (const auto& [key, value] : error.userInfo()) {
    if (isDecoders && key != "codingPath") continue;
    const auto* string = std::get_if<std::string>(&value);
    if (string) text += " " + (isDecoders ? "" : key + "=") + *string;
  }
  return text;
}

/// What became of an operation, or of several. It stays in its place while a callback is held. The
/// call itself shows in the log, where its order can be seen.
struct Outcome {
  bool isTerse = false;  // watching takes no memory then, and gives no text
  int begun = 0;         // callbacks made
  int calls = 0;
  int records = 0;  // of the calls, those with a record and not an error
  int releases = 0;
  std::string text;
  std::thread::id thread;
  std::function<void()> onRelease = nullptr;

  /// The callback to watch, for any operation. It holds one shared pointer and no more: something
  /// that small is copied by some standard libraries where it is said to be moved.
  [[nodiscard]] auto callback() {
    return [self = std::shared_ptr<Outcome>(begin(), release)](const auto& result) {
      self->add(result.has_value(),
                [&] { return result ? textOf(**result) : textOf(result.error()); });
    };
  }

  /// The same in the other form.
  [[nodiscard]] auto optionalsCallback() {
    return [self = std::shared_ptr<Outcome>(begin(), release)](const auto& record,
                                                               const auto& error) {
      self->add(record != nullptr, [&] {
        return !record == !error ? "both or neither" : record ? textOf(*record) : textOf(*error);
      });
    };
  }

  /// For a callback of another kind, that hands back this pointer to `release`.
  [[nodiscard]] Outcome* begin() {
    ++begun;
    return this;
  }

  template <class Describe>
  void add(bool isRecord, Describe describe) {
    ++calls;
    records += isRecord ? 1 : 0;
    thread = std::this_thread::get_id();
    if (isTerse) return;
    QuorvelCoreSDK::CoreLogger::info("called");
    text += describe();
  }

  static void release(void* outcome) {
    auto& self = *static_cast<Outcome*>(outcome);
    ++self.releases;
    if (self.onRelease) self.onRelease();
  }

  /// What came, and whether anything still holds the callback.
  [[nodiscard]] std::string ending() const {
    const std::string held = releases == begun  ? ""
                             : releases < begun ? "still held, "
                                                : "too often, ";
    return held + (calls == 0 ? "silence" : text);
  }
};

/// An operation in one of its two forms.
struct Operation {
  std::string_view path;
  void (*start)(PellixProvider& provider, Outcome& outcome);
};

inline constexpr auto reason2 = PellixProvidersSDK::RejectionReason::reason2;
inline const Operation operations[] = {
    {queryPath, [](auto& to, auto& o) { to.getDeflectionForQuery("How?", o.callback()); }},
    {queryPath, [](auto& to, auto& o) { to.getDeflectionForQuery("How?", o.optionalsCallback()); }},
    {resolvePath, [](auto& to, auto& o) { to.resolveWithArticle(7, 4711, "token", o.callback()); }},
    {resolvePath,
     [](auto& to, auto& o) { to.resolveWithArticle(7, 4711, "token", o.optionalsCallback()); }},
    {rejectPath,
     [](auto& to, auto& o) { to.rejectWithArticle(7, 4711, "token", reason2, o.callback()); }},
    {rejectPath,
     [](auto& to, auto& o) {
       to.rejectWithArticle(7, 4711, "token", reason2, o.optionalsCallback());
     }},
};
inline const Operation& query = operations[0];
inline const Operation& resolution = operations[2];
inline const Operation& rejection = operations[4];
inline const std::string answered = "response 7 11 -12";

/// A settings service of the host's own, which answers within the call; without a document, with
/// null.
class OwnSettings final : public QuorvelCoreSDK::SettingsProvider {
 public:
  explicit OwnSettings(const char* document = nullptr) : document_(document) {}

  std::size_t asked = 0;
  bool isAtFault = false;  // it keeps continuations then, and calls them twice
  std::function<void()> afterAnswer = [] {};

 private:
  void answer(RecordType type, Continuation continuation) override {
    ++asked;
    if (isAtFault) kept_.push_back(continuation);
    for (int i = 0; i < (isAtFault ? 2 : 1); ++i) {
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

/// A service that answers at once, and all well if nothing else is said.
inline auto serviceWith(const char* settings = enabled, int status = 200,
                        const std::string& reply = responseJSON()) {
  auto transport = std::make_shared<QuorvelCoreSDK::Testing::ScriptedTransport>();
  transport->answer(std::string(knowledgeSettings), 200, R"({"locale":"de"})");
  transport->answer(std::string(accountSettings), 200, settings);
  for (const auto path : {queryPath, resolvePath, rejectPath}) {
    if (status != 0) transport->answer(std::string(path), status, reply);
  }
  return transport;
}

/// A core instance for an application of its own.
inline std::shared_ptr<Quorvel> makeQuorvel(QuorvelCoreSDK::Configuration configuration = {},
                                            const std::string& address = "https://acme.example") {
  static std::atomic<int> count = 0;
  if (!configuration.token) configuration.token = [] { return "secret"; };
  return Quorvel::initialize({address, std::to_string(++count), "client"}, std::move(configuration))
      .value();
}

/// Sets all three libraries up, in place of what was there.
inline std::shared_ptr<PellixProvider> setUp(QuorvelCoreSDK::Configuration configuration = {},
                                             const std::string& address = "https://acme.example") {
  auto quorvel = makeQuorvel(std::move(configuration), address);
  auto veltrane = Veltrane::initialize(quorvel);
  Pellix::initialize(std::move(quorvel), std::move(veltrane));
  return Pellix::instance()->provider();
}

/// An application whose feature is enabled, whose knowledge base is in German, and whose every
/// question has an answer.
class Host {
 public:
  explicit Host(const std::shared_ptr<QuorvelCoreSDK::SettingsProvider>& settings = nullptr)
      : provider(setUp({.transport = transport, .settings = settings})) {
    transport->answer(std::string(votePath), 200, R"({"votes":[]})");
    UUID = newLines().at(0).substr(std::string("debug: Initialized Providers with UUID: ").size());
  }

  /// Lets everything run that follows from an operation.
  [[nodiscard]] std::string outcomeOf(const Operation& operation = query) const {
    Outcome outcome;
    operation.start(*provider, outcome);
    transport->settle();
    return outcome.ending();
  }

  /// The addresses of the requests sent so far, below the account's.
  [[nodiscard]] std::vector<std::string> requestedPaths() const {
    std::vector<std::string> paths;
    for (const auto& request : transport->requests()) {
      paths.push_back(request.url.string().substr(std::string("https://acme.example").size()));
    }
    return paths;
  }

  /// What was logged since this was last called.
  [[nodiscard]] std::vector<std::string> newLines() { return log.newLines(); }

  Support::LogRecorder log;
  std::shared_ptr<QuorvelCoreSDK::Testing::ScriptedTransport> transport = serviceWith();
  std::shared_ptr<PellixProvider> provider;
  std::shared_ptr<Quorvel> quorvel = Quorvel::instance();
  std::shared_ptr<Veltrane> veltrane = Veltrane::instance();
  std::string UUID;
};

}  // namespace PellixTests
