#include "PendingCall.h"
#include "Session.h"

#include <PellixPlatform/JSONDecoder.h>
#include <QuorvelCoreSDK/CoreError.h>
#include <QuorvelCoreSDK/CoreLogger.h>
#include <QuorvelCoreSDK/internal/CachedDocument.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace QuorvelCoreSDK {

/// A well-formed document, and what has been decoded from it.
struct CachedDocument::Document {
  struct Decoded {
    decltype(RecordType::decode) decode;
    Record record;  // null: there is none of this type in the document
  };

  PellixPlatform::Data text;
  std::vector<Decoded> records;
};

/// A fetch under way. If it goes before it is finished, because it never got out or its outcome is
/// lost, nothing would ever answer those that wait, nor those that join them: they are let go of.
struct CachedDocument::Fetch {
  std::shared_ptr<CachedDocument> document;  // null when it is finished

  explicit Fetch(std::shared_ptr<CachedDocument> of) : document(std::move(of)) {}
  Fetch(Fetch&&) = default;
  ~Fetch() {
    if (document) static_cast<void>(document->takeWaiting());
  }
};

namespace {

/// Decodes from anything that is well formed.
struct WellFormed {
  explicit WellFormed(const PellixPlatform::Decoder&) {}
};

struct Failure {
  const char* what;
  PellixPlatform::Error error;
};

/// What is wrong with a reply that should hold a document.
std::optional<Failure> failureOf(std::string_view text, const PellixPlatform::URLResponse* response,
                                 std::optional<PellixPlatform::Error> error) {
  constexpr const char* isNotFetched = "could not be fetched";
  if (error) return Failure{isNotFetched, *std::move(error)};
  const auto* http = dynamic_cast<const PellixPlatform::HTTPURLResponse*>(response);
  if (!http || !http->isSuccess()) {
    const int status = http ? http->statusCode() : 0;
    return Failure{
        isNotFetched,
        makeCoreError(CoreErrorCode::transportFailed,
                      "status " + std::to_string(status) + " " +
                          PellixPlatform::HTTPURLResponse::localizedStringForStatusCode(status))};
  }
  auto checked = PellixPlatform::JSONDecoder().decode<WellFormed>(text);
  if (!checked) return Failure{"are malformed", std::move(checked).error()};
  return std::nullopt;
}

ProviderService serviceFor(const CachedDocument::Parameters& parameters, const Session& session) {
  const auto& account = parameters.environment;
  return ProviderService(
      {.environment = account,
       .urlComponent = PellixPlatform::URL::parse(account.accountUrl() + parameters.path).value(),
       .clientHeaders = parameters.clientHeaders,
       .requestTimeout = session.settingsTimeout(),
       .maxResponseBytes = session.maxSettingsBytes()});
}

}  // namespace

CachedDocument::CachedDocument(Parameters parameters)
    : parameters_(std::move(parameters)),
      service_(serviceFor(parameters_, *parameters_.environment.session_)) {}

void CachedDocument::get(RecordType type, Callback callback) {
  if (!PendingCalls::areAccepted()) return;
  const auto document = freshDocument();
  if (!document) {
    callback = PendingCall(callback);
    std::unique_lock lock(mutex_);
    const bool isFirst = waiting_.empty();
    waiting_.push_back({type, std::move(callback)});
    lock.unlock();
    if (isFirst) fetch();
    return;
  }
  if (const auto called = std::exchange(callback, nullptr)) called(recordIn(document, type));
}

/// The document if it need not be fetched, else null.
CachedDocument::SharedDocument CachedDocument::freshDocument() const {
  const std::lock_guard lock(mutex_);
  return Clock::now() < freshUntil_ ? document_ : nullptr;
}

std::optional<SettingsFailure> CachedDocument::lastFailure() const {
  const std::lock_guard lock(mutex_);
  return lastFailure_;
}

void CachedDocument::fetch() {
  auto fetch = std::make_shared<Fetch>(Fetch(shared_from_this()));
  service_.perform([fetch = std::move(fetch)](auto data, const auto& response, auto error) {
    const auto self = fetch->document;
    self->finish(*fetch, std::move(data), response.get(), std::move(error));
  });
}

void CachedDocument::finish(Fetch& fetch, std::optional<PellixPlatform::Data> data,
                            const PellixPlatform::URLResponse* response,
                            std::optional<PellixPlatform::Error> error) {
  auto document = std::make_shared<Document>();
  document->text = std::move(data).value_or(PellixPlatform::Data());
  const auto failure = failureOf(document->text, response, std::move(error));
  std::vector<Waiting> waiting;
  {
    const std::lock_guard lock(mutex_);
    if (failure) {
      lastFailure_.emplace(failure->error, std::chrono::system_clock::now());
      document = document_;
    } else {
      lastFailure_.reset();
      document_ = document;
      freshUntil_ = deadlineAfter(parameters_.environment.session_->settingsTimeToLive());
    }
    std::swap(waiting, waiting_);
    fetch.document = nullptr;
  }
  if (failure) {
    CoreLogger::warn(parameters_.name + " " + failure->what + "; " +
                     (document ? "the last ones are used instead" : parameters_.withoutRecord) +
                     ". " + failure->error.description());
  }
  // What one of those that waited throws is no matter of the others.
  std::exception_ptr thrown;
  for (const auto& each : waiting) {
    try {
      each.callback(recordIn(document, each.type));
    } catch (...) {
      if (!thrown) thrown = std::current_exception();
    }
  }
  if (thrown) std::rethrow_exception(thrown);
}

CachedDocument::Record CachedDocument::recordIn(const SharedDocument& document, RecordType type) {
  if (!document) return type.makeDefault();
  const auto& records = document->records;
  {
    const std::lock_guard lock(mutex_);
    const auto known = std::ranges::find(records, type.decode, &Document::Decoded::decode);
    if (known != records.end()) return known->record ? known->record : type.makeDefault();
  }
  // Outside the lock: a type of the host's may take its time, or come back here.
  auto record = type.decode(document->text);
  if (!record) {
    CoreLogger::warn(parameters_.name + " could not be used; " + parameters_.withoutRecord + ". " +
                     record.error().description());
  }
  {
    const std::lock_guard lock(mutex_);
    document->records.emplace_back(type.decode, record.value_or(nullptr));
  }
  return record ? *std::move(record) : type.makeDefault();
}

std::vector<CachedDocument::Waiting> CachedDocument::takeWaiting() {
  const std::lock_guard lock(mutex_);
  return std::exchange(waiting_, {});
}

}  // namespace QuorvelCoreSDK
