#pragma once

#include "Support/LoopbackServer.h"

#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <QuorvelCoreSDK/internal/ServicePaths.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>
#include <VeltraneProvidersSDK/internal/ServicePaths.h>

#include <gtest/gtest.h>

#include <array>

namespace Faults {

using PellixPlatform::DispatchQueue;
using QuorvelCoreSDK::Quorvel;
using Support::httpReply;
using Support::LoopbackReply;
using Support::LoopbackRequest;
using Support::LoopbackServer;
using VeltraneProvidersSDK::Veltrane;
using Then = LoopbackReply::Then;
namespace ServicePaths {
using namespace QuorvelCoreSDK::ServicePaths;
using namespace VeltraneProvidersSDK::ServicePaths;
}  // namespace ServicePaths

/// Where the operations ask: a query, a resolution, a rejection. They are known by their place
/// here.
inline constexpr std::array<std::string_view, 3> paths{
    "/answers/v1/interactions", "/answers/v1/resolutions", "/answers/v1/rejections"};

inline bool isFor(const LoopbackRequest& request, std::string_view path) {
  return std::string_view(request.head).substr(request.head.find(' ') + 1).starts_with(path);
}

inline constexpr char properAnswer[] =
    R"({"deflection":{"id":7,"auth_token":"canary-auth"},"deflection_articles":[{"id":11,)"
    R"("title":"T","html_url":"h","url":"u","label_names":[],"body":"B","article_id":4711,)"
    R"("locale":"de","brand_id":3,"score":0.5,"snippet":"S"}],)"
    R"("interaction_access_token":"canary-interaction"})";

/// What a service that is well says.
inline std::string properReply(const LoopbackRequest& request) {
  if (isFor(request, ServicePaths::accountSettings)) {
    return httpReply("200 OK", R"({"pellix":{"enabled":true}})");
  }
  if (isFor(request, ServicePaths::knowledgeSettings)) {
    return httpReply("200 OK", R"({"locale":"de"})");
  }
  const bool isVote = isFor(request, ServicePaths::articles);
  return httpReply("200 OK", isVote ? R"({"votes":[]})" : properAnswer);
}

/// What an operation's callback was called with, call by call: an error, or nothing for a success.
using Calls = std::vector<std::optional<PellixPlatform::Error>>;

/// How an operation ended, in words.
inline std::string textOf(const Calls& calls) {
  if (calls.empty()) return "silence";
  if (calls.size() > 1) return std::to_string(calls.size()) + " calls";
  if (!calls[0]) return "success";
  const auto place = calls[0]->domain() + " " + std::to_string(calls[0]->code());
  if (calls[0]->userInfo().empty()) return place;
  // What stands in brackets is of the moment: ports, times, places.
  const auto sentence = calls[0]->localizedDescription();
  return place + ": " + sentence.substr(0, sentence.find(" ("));
}

// What that says of the endings that tests expect.
inline const std::string success = "success";
inline const std::string lost =
    "com.quorvel.core 13: The connection was lost before the reply was complete.";

/// Goes along with an operation: the callback holds it, so it goes when the operation has ended.
struct Course {
  explicit Course(std::function<void(const Calls&)> atEnd) : ended(std::move(atEnd)) {}
  Course(const Course&) = delete;
  Course& operator=(const Course&) = delete;
  ~Course() { ended(calls); }
  Calls calls;
  std::function<void(const Calls&)> ended;
};

inline void start(std::size_t operation, std::function<void(const Calls&)> ended,
                  const std::string& question = "canary-question") {
  constexpr char token[] = "canary-interaction";
  const auto provider = PellixProvidersSDK::Pellix::instance()->provider();
  auto take = [course = std::make_shared<Course>(std::move(ended))](const auto& result) {
    course->calls.push_back(result ? std::nullopt : std::optional(result.error()));
  };
  if (operation == 0) return provider->getDeflectionForQuery(question, std::move(take));
  if (operation == 1) return provider->resolveWithArticle(7, 4711, token, std::move(take));
  provider->rejectWithArticle(7, 4711, token, PellixProvidersSDK::RejectionReason::reason2,
                              std::move(take));
}

/// An application that has set up all three libraries for one address.
class Application {
 public:
  Application(const std::string& address, QuorvelCoreSDK::Configuration configuration) {
    static int count = 0;  // a second one for the same application would be none
    const auto name = "application " + std::to_string(++count);
    if (!configuration.token) configuration.token = [] { return "canary-bearer"; };
    quorvel_ = Quorvel::initialize({address, name, "client"}, std::move(configuration)).value();
    PellixProvidersSDK::Pellix::initialize(quorvel_, Veltrane::initialize(quorvel_));
  }

  [[nodiscard]] bool becomesIdle() const {
    return quorvel_->waitUntilIdle(std::chrono::minutes(1));
  }

  /// Starts the three operations together and waits until they, and all that they started, ended.
  [[nodiscard]] std::array<Calls, 3> runOperations(const std::string& question) const {
    std::array<Calls, 3> endings;
    for (std::size_t i = 0; i < endings.size(); ++i) {
      start(i, [&endings, i](const Calls& calls) { endings[i] = calls; }, question);
    }
    do {
      EXPECT_TRUE(becomesIdle());
    } while (DispatchQueue::main().runPending() > 0);
    return endings;
  }

 private:
  std::shared_ptr<Quorvel> quorvel_;
};

}  // namespace Faults
