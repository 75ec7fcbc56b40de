#include <Platform/FatalError.h>
#include <Platform/JSONDecoder.h>
#include <PellixProvidersSDK/PellixProvider.h>
#include <QuorvelCoreSDK/CoreLogger.h>

#include <utility>

#include "Models/RequestBodies.h"
#include "Providers/Once.h"
#include "Providers/PellixProviderWiring.h"
#include "Providers/PendingCallback.h"
#include "Providers/Pipeline.h"

namespace PellixProvidersSDK {
namespace {

/// The two-argument form as the other one, which is what every operation works with.
template <class T>
ResultCallback<T> asResultCallback(OptionalsCallback<T> callback) {
  if (!callback) return nullptr;
  return [callback = std::exchange(callback, nullptr)](Result<T> result) {
    result ? callback(*std::move(result), std::nullopt)
           : callback(nullptr, std::move(result).error());
  };
}

/// The answer to a question, out of what came back for it.
void finishQuery(PendingCallback<DeflectionResponse>& callback,
                 const std::optional<Platform::Data>& data, const Platform::URLResponse* response,
                 std::optional<Platform::Error> error) {
  if (auto failure = errorFor(response, std::move(error))) {
    return callback(std::unexpected(*std::move(failure)));
  }
  if (!dynamic_cast<const Platform::HTTPURLResponse*>(response)) return;
  if (!data) return;
  callback(Platform::JSONDecoder().decode<DeflectionResponse>(*data));
}

}  // namespace

PellixProviderProtocol::~PellixProviderProtocol() = default;

PellixProvider::PellixProvider() {
  Platform::fatalUnimplementedInitializer("PellixProvidersSDK.PellixProvider", "init()");
}

PellixProvider::PellixProvider(Wiring wiring)
    : wiring_(std::make_unique<const Wiring>(std::move(wiring))) {}
PellixProvider::~PellixProvider() = default;

/// What the operations share. No step keeps the provider alive for the next one, and an operation
/// whose provider is gone ends silently.
struct PellixProvider::Steps {
  /// Runs `next` with the provider and the callback if the feature is enabled; else the callback
  /// gets the error that says so.
  template <class T, class Next>
  static void whenEnabled(PellixProvider& provider, PendingCallback<T> callback, Next next) {
    checkEnabled(once([weak = provider.weak_from_this(), callback = std::move(callback),
                       next = std::move(next)](bool enabled) mutable {
      const auto self = weak.lock();
      if (!self) return;
      if (!enabled) return callback(std::unexpected(disabledError()));
      next(*self, std::move(callback));
    }));
  }

  /// Sends a request if one can be made; `finish` gets what came back, on the main queue.
  template <class T, class Finish>
  static void send(PellixProvider& provider, std::optional<Platform::Data> body,
                   const PellixEndpoint& endpoint, PendingCallback<T> callback, Finish finish) {
    const auto service =
        makeProviderService(provider.wiring_->quorvel.get(), std::move(body), endpoint);
    if (!service) return;
    service->perform(once([weak = provider.weak_from_this(), callback = std::move(callback),
                           finish](const auto& data, const auto& response, auto error) mutable {
      const auto self = weak.lock();
      if (!self) return;
      finish(callback, data, response.get(), std::move(error));
    }));
  }
};

void PellixProvider::getDeflectionForQuery(std::string query,
                                           ResultCallback<DeflectionResponse> callback) {
  PendingCallback pending(callback);
  QuorvelCoreSDK::CoreLogger::debug("UUID for deflection: " + wiring_->UUID);
  const auto* const endpoint = findEndpoint("interaction");
  if (!endpoint) return;

  wiring_->localeProvider->getLocale(once([weak = weak_from_this(), query = std::move(query),
                                           endpoint, pending = std::move(pending)](
                                              std::string locale) mutable {
    const auto self = weak.lock();
    if (!self) return;
    auto body = encodeBody(InteractionRequestBody(self->wiring_->UUID, std::move(query),
                                                  std::move(locale), {}, std::nullopt));

    Steps::whenEnabled(*self, std::move(pending),
                       [body = std::move(body), endpoint](PellixProvider& provider, auto gated) mutable {
                         Steps::send(provider, std::move(body), *endpoint, std::move(gated),
                                     finishQuery);
                       });
  }));
}

void PellixProvider::getDeflectionForQuery(std::string query,
                                           OptionalsCallback<DeflectionResponse> callback) {
  getDeflectionForQuery(std::move(query), asResultCallback(std::exchange(callback, nullptr)));
}

}  // namespace PellixProvidersSDK
