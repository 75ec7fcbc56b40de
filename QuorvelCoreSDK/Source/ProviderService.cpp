#include "Header.h"
#include "PendingCall.h"
#include "SecureURL.h"
#include "Session.h"

#include <QuorvelCoreSDK/CoreError.h>
#include <QuorvelCoreSDK/ProviderService.h>

#include <expected>
#include <string_view>
#include <utility>

namespace QuorvelCoreSDK {
namespace {

using Parameters = ProviderService::Parameters;

std::expected<TransportRequest, PellixPlatform::Error> makeRequest(Parameters&& parameters,
                                                                   const Session& session) {
  auto& url = parameters.urlComponent;
  if (!isSecure(url)) return std::unexpected(makeCoreError(CoreErrorCode::insecureUrl));

  if (parameters.requiresAuth && !url.hasSameOrigin(session.accountUrl())) {
    return std::unexpected(makeCoreError(CoreErrorCode::foreignOrigin));
  }

  TransportRequest request{.method = parameters.httpMethod,
                           .url = std::move(url),
                           .headers = {},
                           .body = std::move(parameters.body),
                           .requestTimeout = parameters.requestTimeout,
                           .maxResponseBytes = parameters.maxResponseBytes,
                           .waitsForConnection = parameters.waitsForConnection};
  auto& headers = request.headers;
  headers.reserve(8);
  bool areValid = true;
  const auto add = [&](std::string name, std::string value) {
    areValid = areValid && isHeaderValue(value);
    headers.emplace_back(std::move(name), std::move(value));
  };
  if (parameters.requiresAuth) {
    const auto token = session.token();
    if (!token || token->empty()) {
      return std::unexpected(makeCoreError(CoreErrorCode::missingToken));
    }
    add("Authorization", "Bearer " + *token);
  }
  headers.emplace_back("Accept", "application/json");
  if (request.body) headers.emplace_back("Content-Type", "application/json; charset=utf-8");
  add("X-Quorvel-Client", parameters.clientHeaders->client());
  add("X-Quorvel-Client-Version", parameters.clientHeaders->version());
  for (const auto& [name, value] : parameters.clientHeaders->aditionalHeaders()) {
    areValid = areValid && isHeaderName(name);
    add(name, value);
  }
  if (!areValid) return std::unexpected(makeCoreError(CoreErrorCode::invalidHeader));
  return request;
}

using Call = PendingCall<std::optional<PellixPlatform::Data>,
                         std::shared_ptr<const PellixPlatform::URLResponse>,
                         std::optional<PellixPlatform::Error>>;

void deliver(const Call& call, PellixPlatform::DispatchQueue* queue, TransportReply reply) {
  if (!call) return;  // nor is the host's loop woken
  if (reply.data && reply.data->empty()) reply.data.reset();
  if (!queue) {
    call(std::move(reply.data), std::move(reply.response), std::move(reply.error));
    return;
  }
  queue->post([call, reply = std::move(reply)]() mutable {
    call(std::move(reply.data), std::move(reply.response), std::move(reply.error));
  });
}

}  // namespace

Transport::~Transport() = default;

ProviderService::ProviderService(Parameters parameters) : parameters_(std::move(parameters)) {}

void ProviderService::perform(Callback callback) const& {
  ProviderService(*this).perform(std::exchange(callback, nullptr));
}

void ProviderService::perform(Callback callback) && {
  const auto& session = parameters_.environment.session();
  auto* const queue = parameters_.dispatchQueue;
  const Call call(callback);
  if (!call) return;
  if (!session) {
    // Without a transport there is no thread but the queue's.
    deliver(call, queue ? queue : &PellixPlatform::DispatchQueue::main(),
            {.error = makeCoreError(CoreErrorCode::notInitialized)});
    return;
  }
  auto request = makeRequest(std::move(parameters_), *session);
  if (!call) return;  // since the host was asked for a token
  if (!request) {
    Session::post(session, [call, queue, error = std::move(request.error())]() mutable {
      deliver(call, queue, {.error = std::move(error)});
    });
    return;
  }
  session->transport().send(
      *std::move(request),
      [call, queue, underWay = Session::UnderWay(session)](TransportReply reply) mutable {
        const auto ended = std::move(underWay);
        deliver(call, queue, std::move(reply));
      });
}

}  // namespace QuorvelCoreSDK
