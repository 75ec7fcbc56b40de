#include "Freshness.h"
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
  std::string validator;  // an entity tag (RFC 9110, section 8.8.3), or empty
  std::vector<Decoded> records;
};

/// A fetch under way. If it goes before it is finished, because it never got out or its outcome is
/// lost, nothing would ever answer those that wait, nor those that join them: they are let go of.
struct CachedDocument::Fetch {
  std::shared_ptr<CachedDocument> of;  // null when it is finished
  SharedDocument known;                // that the server may confirm; null: it is fetched whole

  Fetch(std::shared_ptr<CachedDocument> document, SharedDocument confirmable)
      : of(std::move(document)), known(std::move(confirmable)) {}
  Fetch(Fetch&&) = default;
  ~Fetch() {
    if (of) of->abandonFetch();
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
std::optional<Failure> failureOf(std::string_view text, const PellixPlatform::HTTPURLResponse* http,
                                 std::optional<PellixPlatform::Error> error) {
  constexpr const char* isNotFetched = "could not be fetched";
  if (error) return Failure{isNotFetched, *std::move(error)};
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

/// The reply's entity tag, or nothing if it is none (RFC 9110, section 8.8.3) or too large to be
/// sent back with each request.
std::string validatorIn(const PellixPlatform::HTTPURLResponse& response) {
  constexpr std::size_t largest = 1024;  // bytes
  const auto tag = response.valueForHeaderField("ETag").value_or("");
  const bool isQuoted = (tag.starts_with('"') || tag.starts_with("W/\"")) && tag.ends_with('"') &&
                        std::ranges::count(tag, '"') == 2;
  const auto isGraphic = [](char c) { return static_cast<unsigned char>(c) > ' ' && c != 0x7F; };
  const bool isTag = isQuoted && tag.size() <= largest && std::ranges::all_of(tag, isGraphic);
  return std::string(isTag ? tag : "");
}

}  // namespace

CachedDocument::CachedDocument(Parameters parameters)
    : parameters_(std::move(parameters)),
      freshness_(std::make_unique<Freshness>(parameters_.environment.session()->surroundings())) {}
CachedDocument::~CachedDocument() {
  parameters_.environment.session()->documents().forget();
}

std::shared_ptr<CachedDocument> CachedDocument::make(Parameters parameters) {
  auto& documents = parameters.environment.session()->documents();
  std::shared_ptr<CachedDocument> made(new CachedDocument(std::move(parameters)));
  documents.add(made);
  return made;
}

void CachedDocument::get(RecordType type, Callback callback) {
  const PendingCall call(callback);
  if (!call) return;
  if (const auto document = freshDocument()) {
    call(recordIn(document, type));
    return;
  }
  Waiting waiting{.type = type, .callback = call};  // goes after the lock does, if it can't wait
  std::unique_lock lock(mutex_);
  audience_.waiting.push_back(std::move(waiting));
  if (!fetch(std::move(lock), false)) return;
  parameters_.environment.session()->documents().fetchBeside(*this);
}

void CachedDocument::fetchAhead(Report report, bool waitsForConnection) {
  std::unique_lock lock(mutex_);
  if (!audience_.report) audience_.report = std::move(report);  // one line is enough
  fetch(std::move(lock), waitsForConnection);
}

/// The document if it need not be fetched, else null.
CachedDocument::SharedDocument CachedDocument::freshDocument() const {
  const std::lock_guard lock(mutex_);
  return document_ && freshness_->isFresh() ? document_ : nullptr;
}

bool CachedDocument::isJustTried() const {
  const std::lock_guard lock(mutex_);
  return freshness_->isJustTried();
}

std::optional<SettingsFailure> CachedDocument::lastFailure() const {
  const std::lock_guard lock(mutex_);
  return lastFailure_;
}

/// False if that is under way already. The lock is that of the members.
bool CachedDocument::fetch(std::unique_lock<std::mutex> lock, bool waitsForConnection) {
  if (std::exchange(isFetching_, true)) return false;
  if (document_ && freshness_->haveClocksJumped()) document_->validator.clear();
  const bool isConfirmable = document_ && !document_->validator.empty();
  Fetch begun(shared_from_this(), isConfirmable ? document_ : nullptr);
  lock.unlock();
  auto service = serviceFor(begun.known, waitsForConnection);
  std::move(service).perform([fetch = std::make_shared<Fetch>(std::move(begun))](
                                 auto data, const auto& response, auto error) {
    const auto self = fetch->of;
    self->finish(*fetch, std::move(data), response.get(), std::move(error));
  });
  return true;
}

ProviderService CachedDocument::serviceFor(const SharedDocument& known,
                                           bool waitsForConnection) const {
  const auto& account = parameters_.environment;
  const auto& session = *account.session();
  auto headers = parameters_.clientHeaders;
  if (known) {
    auto all = headers->aditionalHeaders();
    all.insert_or_assign("If-None-Match", known->validator);
    headers = makeClientHeaders(headers->client(), headers->version(), std::move(all));
  }
  return ProviderService(
      {.environment = account,
       .urlComponent = PellixPlatform::URL::parse(account.accountUrl() + parameters_.path).value(),
       .clientHeaders = std::move(headers),
       .requestTimeout = session.settingsTimeout(),
       .maxResponseBytes = session.maxSettingsBytes(),
       .waitsForConnection = waitsForConnection});
}

void CachedDocument::finish(Fetch& fetch, std::optional<PellixPlatform::Data> data,
                            const PellixPlatform::URLResponse* response,
                            std::optional<PellixPlatform::Error> error) {
  const auto* const http = dynamic_cast<const PellixPlatform::HTTPURLResponse*>(response);
  const bool isConfirmed = fetch.known && !error && http && http->statusCode() == 304;
  std::optional<Failure> failure;
  auto document = fetch.known;
  if (!isConfirmed) {
    document = std::make_shared<Document>();
    document->text = std::move(data).value_or(PellixPlatform::Data());
    failure = failureOf(document->text, http, std::move(error));
    if (!failure) document->validator = validatorIn(*http);
  }
  const auto& session = *parameters_.environment.session();
  Audience audience;
  {
    const std::lock_guard lock(mutex_);
    if (failure) {
      lastFailure_.emplace(failure->error, session.surroundings().wallTime());
      freshness_->postpone();
      document = document_;
    } else {
      lastFailure_.reset();
      freshness_->renew(session.settingsTimeToLive());
      document_ = document;
    }
    std::swap(audience, audience_);
    isFetching_ = false;
    fetch.of = nullptr;
  }
  if (failure) {
    const auto what = parameters_.name + " " + failure->what;
    const auto why = ". " + failure->error.description();
    if (!audience.waiting.empty() || !audience.report) {
      CoreLogger::warn(what + "; " +
                       (document ? "the last ones are used instead" : parameters_.withoutRecord) +
                       why);
    } else {
      audience.report(what + why);
    }
  }
  // What one of those that waited throws is no matter of the others.
  std::exception_ptr thrown;
  for (const auto& each : audience.waiting) {
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

void CachedDocument::abandonFetch() {
  Audience audience;  // goes after the lock does
  const std::lock_guard lock(mutex_);
  std::swap(audience, audience_);
  isFetching_ = false;
}

}  // namespace QuorvelCoreSDK
