#include "Doctor/Service.h"

#include "Host.h"

#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <QuorvelCoreSDK/internal/ServicePaths.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>
#include <VeltraneProvidersSDK/internal/ServicePaths.h>

namespace PellixApp {
namespace {

using PellixProvidersSDK::DeflectionResponse;
using PellixProvidersSDK::Pellix;
using QuorvelCoreSDK::ProviderService;
using QuorvelCoreSDK::Quorvel;
using QuorvelCoreSDK::TransportReply;
using QuorvelCoreSDK::TransportRequest;
namespace AccountPaths = QuorvelCoreSDK::ServicePaths;
namespace KnowledgePaths = VeltraneProvidersSDK::ServicePaths;

constexpr const char* question = "Can pellix doctor ask a question?";

TransportReply perform(const TransportRequest& request, const Account& account, bool needsToken) {
  const ProviderService service(
      {.environment = account->accountDetails(),
       .urlComponent = request.url,
       .requiresAuth = needsToken,
       .httpMethod = request.method,
       .clientHeaders = QuorvelCoreSDK::makeClientHeaders("Pellix", PELLIX_VERSION),
       .body = request.body});
  const auto reply = await<TransportReply>([&service](const auto& callback) {
    service.perform([callback](auto data, const auto& response, auto error) {
      callback({.data = std::move(data), .response = response, .error = std::move(error)});
    });
  });
  return reply.value_or(TransportReply());
}

TransportReply fetch(std::string_view path, const Account& account) {
  auto address = account->accountDetails().accountUrl() + std::string(path);
  return perform({.url = PellixPlatform::URL::parse(std::move(address)).value()}, account, false);
}

/// Answers the library with the knowledge settings as they came, and with an enabled feature in any
/// case, so that it makes its query; and keeps that.
class CapturingTransport final : public QuorvelCoreSDK::Transport {
 public:
  CapturingTransport(Account account, TransportReply knowledgeSettings)
      : account_(std::move(account)), knowledgeSettings_(std::move(knowledgeSettings)) {}

  void send(TransportRequest request, Completion completion) override {
    TransportReply reply{.error = makeCoreError(QuorvelCoreSDK::CoreErrorCode::transportFailed)};
    const auto& url = request.url.string();
    if (url.ends_with(AccountPaths::accountSettings)) {
      using Response = PellixPlatform::HTTPURLResponse;
      reply = {.data = R"({"pellix":{"enabled":true}})",
               .response = std::make_shared<const Response>(url, 200, Response::HeaderFields())};
    } else if (url.ends_with(KnowledgePaths::knowledgeSettings)) {
      reply = knowledgeSettings_;
    } else {
      query = std::move(request);
    }
    post([completion = std::move(completion), reply = std::move(reply)] { completion(reply); });
  }
  void post(std::function<void()> task) override { account_->post(std::move(task)); }

  std::optional<TransportRequest> query;

 private:
  const Account account_;
  const TransportReply knowledgeSettings_;
};

}  // namespace

SettingsReplies fetchSettings(const Account& account) {
  SettingsReplies replies;
  replies.account = fetch(AccountPaths::accountSettings, account);
  replies.receivedAt = std::time(nullptr);
  // A service that can't be reached is not waited for twice.
  replies.knowledgeBase =
      replies.account.error ? replies.account : fetch(KnowledgePaths::knowledgeSettings, account);
  return replies;
}

std::optional<TransportRequest> makeQuery(const TransportReply& knowledgeSettings,
                                          const Account& account, const Options& options) {
  const auto transport = std::make_shared<CapturingTransport>(account, knowledgeSettings);
  QuorvelCoreSDK::Configuration configuration;
  configuration.token = [] { return "none"; };  // without one, the library makes no query
  configuration.transport = transport;
  const auto quorvel = Quorvel::initialize(account->accountDetails(), configuration).value();
  const auto veltrane = VeltraneProvidersSDK::Veltrane::initialize(quorvel);
  veltrane->setLumenoLocaleOverride(options.locale);
  Pellix::initialize(quorvel, veltrane);

  using Answer = PellixProvidersSDK::Result<DeflectionResponse>;
  static_cast<void>(await<Answer>([](auto callback) {
    Pellix::instance()->provider()->getDeflectionForQuery(
        question, PellixProvidersSDK::ResultCallback<DeflectionResponse>(std::move(callback)));
  }));
  return transport->query;
}

TransportReply send(const TransportRequest& query, const Account& account) {
  return perform(query, account, true);
}

}  // namespace PellixApp
