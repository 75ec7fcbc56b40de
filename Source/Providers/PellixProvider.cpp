#include "Models/RequestBodies.h"
#include "Providers/PellixProviderDependencies.h"
#include "Providers/Pipeline.h"

#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/internal/FatalError.h>
#include <PellixPlatform/internal/Once.h>
#include <PellixProvidersSDK/PellixProvider.h>
#include <QuorvelCoreSDK/CoreLogger.h>

#include <utility>

namespace PellixProvidersSDK {
namespace {

using PellixPlatform::Once;
using Response = std::shared_ptr<const PellixPlatform::URLResponse>;

/// A caller's callback on its way through an operation.
template <class T>
using PendingCallback = Once<ResultCallback<T>>;

/// The answer to a question, out of what came back for it.
void finishQuery(const PendingCallback<DeflectionResponse>& callback,
                 std::optional<PellixPlatform::Data> data, const Response& response,
                 std::optional<PellixPlatform::Error> error) {
  if (auto failure = errorFor(response.get(), std::move(error))) {
    return callback(std::unexpected(*std::move(failure)));
  }
  if (!std::dynamic_pointer_cast<const PellixPlatform::HTTPURLResponse>(response)) return;
  if (!data) return;
  callback(PellixPlatform::JSONDecoder().decode<DeflectionResponse>(*data));
}

/// The outcome of a resolution or a rejection, out of what came back for it.
void finishReport(const PendingCallback<PellixDispatcherResponse>& callback,
                  std::optional<PellixPlatform::Data> data, const Response& response,
                  std::optional<PellixPlatform::Error> error) {
  if (auto failure = errorFor(response.get(), std::move(error))) {
    return callback(std::unexpected(*std::move(failure)));
  }
  auto http = std::dynamic_pointer_cast<const PellixPlatform::HTTPURLResponse>(response);
  if (!http) return;
  callback(std::make_shared<const PellixDispatcherResponse>(std::move(http), std::move(data)));
}

/// Votes for an article; only a failure shows, and only in the log.
void upVote(VeltraneProvidersSDK::LumenoProviderProtocol& lumenoProvider, std::int64_t articleId) {
  auto id = std::to_string(articleId);
  lumenoProvider.upVoteArticle(
      id, [id](const auto&, const std::optional<PellixPlatform::Error>& error) {
        if (!error) return;
        QuorvelCoreSDK::CoreLogger::debug("Could not upvote article with id=" + id +
                                          ". Error: " + error->description());
      });
}

/// What a step leaves to the next one instead of keeping the provider alive.
std::weak_ptr<PellixProvider> weakReference(PellixProvider& provider) {
  return std::static_pointer_cast<PellixProvider>(provider.weak_from_this().lock());
}

}  // namespace

PellixProviderProtocol::~PellixProviderProtocol() = default;

PellixProvider::PellixProvider() {
  PellixPlatform::fatalUnimplementedInitializer("PellixProvidersSDK.PellixProvider", "init()");
}

PellixProvider::PellixProvider(Dependencies dependencies)
    : dependencies_(std::make_unique<const Dependencies>(std::move(dependencies))) {}
PellixProvider::~PellixProvider() = default;

/// What the operations share. No step keeps the provider alive for the next one, and an operation
/// whose provider is gone ends silently.
struct PellixProvider::Steps {
  /// Runs `next` with the provider and the callback if the feature is enabled; else the callback
  /// gets the error that says so.
  template <class T, class Next>
  static void whenEnabled(PellixProvider& provider, PendingCallback<T> callback, Next next) {
    checkEnabled([weak = weakReference(provider), callback = std::move(callback),
                  next = std::move(next)](bool enabled) mutable {
      const auto self = weak.lock();
      if (!self) return;
      if (!enabled) return callback(Result<T>(std::unexpected(disabledError())));
      next(*self, std::move(callback));
    });
  }

  /// Sends a request if one can be made, and says whether; `finish` gets what came back, on the
  /// main queue.
  template <class T, class Finish>
  static bool send(PellixProvider& provider, std::optional<PellixPlatform::Data> body,
                   const PellixEndpoint& endpoint, PendingCallback<T> callback, Finish finish) {
    auto service =
        makeProviderService(provider.dependencies_->quorvel.get(), std::move(body), endpoint);
    if (!service) return false;
    std::move(*service).perform(
        Once([weak = weakReference(provider), callback = std::move(callback), finish](
                 auto data, const auto& response, auto error) {
          const auto self = weak.lock();
          if (!self) return;
          finish(callback, std::move(data), response, std::move(error));
        }));
    return true;
  }

  /// Sends the report of an outcome to the endpoint of that name, if there is one.
  template <class Body>
  static bool report(PellixProvider& provider, std::string_view name, const Body& reported,
                     PendingCallback<PellixDispatcherResponse> callback) {
    const auto* const endpoint = findEndpoint(name);
    if (!endpoint) return false;
    auto body = encodeBody(reported);
    return send(provider, std::move(body), *endpoint, std::move(callback), finishReport);
  }
};

void PellixProvider::getDeflectionForQuery(std::string query,
                                           ResultCallback<DeflectionResponse> callback) {
  PendingCallback<DeflectionResponse> pending(std::move(callback));
  const auto kept = weak_from_this().lock();  // whatever the log's sink lets go of
  QuorvelCoreSDK::CoreLogger::debug("UUID for deflection: " + dependencies_->UUID);
  const auto* const endpoint = findEndpoint("interaction");
  if (!endpoint) return;

  dependencies_->localeProvider->getLocale(
      [weak = weakReference(*this), query = std::move(query), endpoint,
       pending = std::move(pending)](std::string locale) mutable {
        const auto self = weak.lock();
        if (!self) return;
        auto body = encodeBody(InteractionRequestBody(self->dependencies_->UUID, std::move(query),
                                                      std::move(locale), {}, std::nullopt));

        Steps::whenEnabled(
            *self, std::move(pending),
            [body = std::move(body), endpoint](PellixProvider& provider, auto gated) mutable {
              Steps::send(provider, std::move(body), *endpoint, std::move(gated), finishQuery);
            });
      });
}

void PellixProvider::getDeflectionForQuery(std::string query,
                                           OptionalsCallback<DeflectionResponse> callback) {
  getDeflectionForQuery(std::move(query), asResultCallback(std::exchange(callback, nullptr)));
}

void PellixProvider::resolveWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                                        std::string interactionAccessToken,
                                        ResultCallback<PellixDispatcherResponse> callback) {
  ResolutionRequestBody body{.deflectionId = deflectionId,
                             .articleId = articleId,
                             .resolutionChannelId = channel,
                             .interactionAccessToken = std::move(interactionAccessToken)};
  Steps::whenEnabled(*this, PendingCallback<PellixDispatcherResponse>(std::move(callback)),
                     [body = std::move(body)](PellixProvider& provider, auto gated) {
                       if (!Steps::report(provider, "resolve", body, std::move(gated))) return;
                       upVote(*provider.dependencies_->lumenoProvider, body.articleId);
                     });
}

void PellixProvider::resolveWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                                        std::string interactionAccessToken,
                                        OptionalsCallback<PellixDispatcherResponse> callback) {
  resolveWithArticle(deflectionId, articleId, std::move(interactionAccessToken),
                     asResultCallback(std::exchange(callback, nullptr)));
}

void PellixProvider::rejectWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                                       std::string interactionAccessToken, RejectionReason reason,
                                       ResultCallback<PellixDispatcherResponse> callback) {
  RejectionRequestBody body{.deflectionId = deflectionId,
                            .articleId = articleId,
                            .resolutionChannelId = channel,
                            .interactionAccessToken = std::move(interactionAccessToken),
                            .reason = rawValue(reason)};
  Steps::whenEnabled(*this, PendingCallback<PellixDispatcherResponse>(std::move(callback)),
                     [body = std::move(body)](PellixProvider& provider, auto gated) {
                       Steps::report(provider, "reject", body, std::move(gated));
                     });
}

void PellixProvider::rejectWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                                       std::string interactionAccessToken, RejectionReason reason,
                                       OptionalsCallback<PellixDispatcherResponse> callback) {
  rejectWithArticle(deflectionId, articleId, std::move(interactionAccessToken), reason,
                    asResultCallback(std::exchange(callback, nullptr)));
}

}  // namespace PellixProvidersSDK
