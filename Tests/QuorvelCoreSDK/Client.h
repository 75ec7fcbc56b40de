#pragma once

#include "Support/LoopbackServer.h"

#include <QuorvelCoreSDK/QuorvelCoreSDK.h>

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>

namespace QuorvelCoreSDK {

inline constexpr auto generousLimit = std::chrono::minutes(1);  // that nothing should come near
inline constexpr char secret[] = "s3cret-t0ken";

struct Outcome {
  std::optional<PellixPlatform::Data> data;
  std::shared_ptr<const PellixPlatform::HTTPURLResponse> response;
  std::optional<PellixPlatform::Error> error;
  std::thread::id thread;

  [[nodiscard]] int status() const { return response ? response->statusCode() : 0; }
  [[nodiscard]] std::string text() const { return error ? error->description() : ""; }
  [[nodiscard]] CoreErrorCode code() const {
    return error && error->domain() == CoreErrorDomain ? CoreErrorCode{error->code()}
                                                       : CoreErrorCode{};
  }
};

/// What a future holds; a default value, and a failed test, if nothing comes.
template <class T>
T valueOf(std::future<T> future) {
  if (future.wait_for(generousLimit) == std::future_status::ready) return future.get();
  ADD_FAILURE() << "nothing came";
  return T();
}

/// A core instance for one address, and requests with it.
struct Client {
  explicit Client(const std::string& address, Configuration configuration = {})
      : quorvel(Quorvel::initialize({address, "application", "client"}, withToken(configuration))
                    .value()) {}

  static Configuration withToken(Configuration configuration) {
    if (!configuration.token) configuration.token = [] { return secret; };
    return configuration;
  }

  [[nodiscard]] ProviderService::Parameters parameters(const std::string& path = "/x") const {
    const auto& account = quorvel->accountDetails();
    return {.environment = account,
            .urlComponent = PellixPlatform::URL::parse(account.accountUrl() + path).value(),
            .requiresAuth = true,
            .clientHeaders = makeClientHeaders("Tester", "1.2.3")};
  }

  static std::future<Outcome> begin(ProviderService::Parameters parameters) {
    auto promise = std::make_shared<std::promise<Outcome>>();
    ProviderService(std::move(parameters)).perform([promise](auto data, auto response, auto error) {
      promise->set_value(
          {std::move(data),
           std::dynamic_pointer_cast<const PellixPlatform::HTTPURLResponse>(response),
           std::move(error), std::this_thread::get_id()});
    });
    return promise->get_future();
  }

  [[nodiscard]] Outcome perform() const { return valueOf(begin(parameters())); }

  const std::shared_ptr<Quorvel> quorvel;
};

/// A handler that always answers the same.
inline Support::LoopbackServer::Handler replying(
    std::string bytes, Support::LoopbackReply::Then then = Support::LoopbackReply::Then::keep) {
  return [reply = Support::LoopbackReply{std::move(bytes), then}](const auto&) { return reply; };
}

}  // namespace QuorvelCoreSDK
