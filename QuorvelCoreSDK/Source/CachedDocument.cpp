#include "PendingCall.h"
#include "Session.h"

#include <PellixPlatform/JSONDecoder.h>
#include <QuorvelCoreSDK/CachedDocument.h>
#include <QuorvelCoreSDK/CoreError.h>
#include <QuorvelCoreSDK/CoreLogger.h>
#include <QuorvelCoreSDK/ProviderService.h>

#include <exception>
#include <utility>

namespace QuorvelCoreSDK {
namespace {

/// Decodes from anything that is well formed.
struct WellFormed {
  explicit WellFormed(const PellixPlatform::Decoder&) {}
};

std::expected<PellixPlatform::Data, PellixPlatform::Error> documentOf(
    std::optional<PellixPlatform::Data> data, const PellixPlatform::URLResponse* response,
    std::optional<PellixPlatform::Error> error) {
  if (error) return std::unexpected(*std::move(error));
  const auto* http = dynamic_cast<const PellixPlatform::HTTPURLResponse*>(response);
  const int status = http ? http->statusCode() : 0;
  if (status < 200 || 299 < status) {
    return std::unexpected(
        makeCoreError(CoreErrorCode::transportFailed,
                      "status " + std::to_string(status) + " " +
                          PellixPlatform::HTTPURLResponse::localizedStringForStatusCode(status)));
  }
  auto document = std::move(data).value_or(PellixPlatform::Data());
  if (auto checked = PellixPlatform::JSONDecoder().decode<WellFormed>(document); !checked) {
    return std::unexpected(std::move(checked).error());
  }
  return document;
}

}  // namespace

CachedDocument::CachedDocument(Parameters parameters) : parameters_(std::move(parameters)) {}

void CachedDocument::get(Callback callback) {
  if (!PendingCalls::areAccepted()) return;
  auto document = freshDocument();
  if (!document) {
    callback = PendingCall(callback);
    std::unique_lock lock(mutex_);
    const bool isFirst = waiting_.empty();
    waiting_.push_back(std::move(callback));
    lock.unlock();
    if (isFirst) fetch();
    return;
  }
  if (parameters_.delivery == Delivery::atOnce) {
    if (const auto called = std::exchange(callback, nullptr)) called(std::move(document));
  } else {
    Session::post(parameters_.environment.session_,
                  [call = std::exchange(callback, nullptr), document = std::move(document)] {
                    if (call) call(document);
                  });
  }
}

/// The document if it need not be fetched, else null.
CachedDocument::Document CachedDocument::freshDocument() {
  const std::lock_guard lock(mutex_);
  return Clock::now() < freshUntil_ ? document_ : nullptr;
}

/// A fetch under way. If it goes before it is finished, because it never got out or its outcome is
/// lost, nothing would ever answer those that wait, nor those that join them: they are let go of.
struct CachedDocument::Fetch {
  std::shared_ptr<CachedDocument> document;  // null when it is finished

  explicit Fetch(std::shared_ptr<CachedDocument> of) : document(std::move(of)) {}
  Fetch(Fetch&&) = default;
  ~Fetch() {
    if (document) document->takeWaiting();
  }
};

std::vector<CachedDocument::Callback> CachedDocument::takeWaiting() {
  const std::lock_guard lock(mutex_);
  return std::exchange(waiting_, {});
}

void CachedDocument::fetch() {
  auto fetch = std::make_shared<Fetch>(Fetch(shared_from_this()));
  const auto& account = parameters_.environment;
  const ProviderService service(
      {.environment = account,
       .urlComponent = PellixPlatform::URL::parse(account.accountUrl() + parameters_.path).value(),
       .clientHeaders = parameters_.clientHeaders});
  service.perform([fetch = std::move(fetch)](auto data, const auto& response, auto error) {
    const auto self = fetch->document;
    self->finish(*fetch, documentOf(std::move(data), response.get(), std::move(error)));
  });
}

void CachedDocument::finish(Fetch& fetch,
                            std::expected<PellixPlatform::Data, PellixPlatform::Error> fetched) {
  const auto failure = fetched ? std::nullopt : std::optional(fetched.error());
  Document document;
  if (fetched) document = std::make_shared<const PellixPlatform::Data>(*std::move(fetched));
  std::vector<Callback> waiting;
  {
    const std::lock_guard lock(mutex_);
    if (document) {
      document_ = document;
      freshUntil_ = deadlineAfter(parameters_.environment.session_->timeToLive());
    }
    document = document_;
    std::swap(waiting, waiting_);
    fetch.document = nullptr;
  }
  if (failure) {
    CoreLogger::warn(parameters_.name + " could not be fetched; " +
                     (document ? "the last ones are" : "the default is") + " used instead. " +
                     failure->description());
  }
  // What one of those that waited throws is no matter of the others.
  std::exception_ptr thrown;
  for (const auto& call : waiting) {
    try {
      call(document);
    } catch (...) {
      if (!thrown) thrown = std::current_exception();
    }
  }
  if (thrown) std::rethrow_exception(thrown);
}

}  // namespace QuorvelCoreSDK
