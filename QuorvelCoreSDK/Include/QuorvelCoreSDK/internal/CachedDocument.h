#pragma once

#include <PellixPlatform/Data.h>
#include <QuorvelCoreSDK/ProviderService.h>
#include <QuorvelCoreSDK/SettingsProvider.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace QuorvelCoreSDK {

class Freshness;

/// A JSON document of an account that its clients need again and again, such as its settings: it is
/// fetched without authentication when it is asked for, and kept for the time to live of the core's
/// configuration, shortened at random by up to a tenth. Then it is fetched anew on the condition
/// that it has changed, if the server gave it a validator. Those who ask while a fetch is under way
/// wait for that one. When a fetch fails, the last good document is the answer, and goes on to be
/// for 1 to 2 seconds, doubled with each further failure up to a minute; and a warning is logged.
/// While there is none at hand, each who asks has it fetched.
///
/// Clients get records. Each type of them is decoded once from a document, and then kept with it.
///
/// Ownership: always held by a shared pointer, which a fetch under way shares.
/// Thread safety: any thread.
class PELLIX_EXPORT CachedDocument final : public std::enable_shared_from_this<CachedDocument> {
 public:
  using Record = SettingsProvider::Record;
  using RecordType = SettingsProvider::RecordType;  // known by its `decode`
  using Callback = SettingsProvider::Continuation;
  using Report = std::function<void(const std::string& failure)>;

  struct Parameters {
    /// As handed out by a core instance.
    AccountDetails environment;
    /// Below the account's address.
    std::string path;
    /// What the document is called in the log.
    std::string name;
    /// What the log says that clients do when there is no record to be had.
    std::string withoutRecord;
    /// Never null.
    std::shared_ptr<const ClientHeaders> clientHeaders;
    /// Whether those who ask for another document of the core instance ask for this one next, so
    /// that it is fetched at the same time.
    bool comesAlong = false;
  };

  /// Never null.
  [[nodiscard]] static std::shared_ptr<CachedDocument> make(Parameters parameters);
  CachedDocument(const CachedDocument&) = delete;
  CachedDocument& operator=(const CachedDocument&) = delete;
  ~CachedDocument();

  /// Calls `callback` once and lets go of it: with a record, or with the type's default if there is
  /// none to be had. It is called within this call if the document is at hand, else on the
  /// transport's thread. If memory runs out meanwhile, or the transport drops the request, it is
  /// let go of without a call.
  void get(RecordType type, Callback callback);

  /// Fetches it, unless that is under way, before somebody asks for it. `report` (may be null) is
  /// called on the transport's thread if that fails and nobody who asks has been told by the log.
  /// With `waitsForConnection`, see `TransportRequest`.
  void fetchAhead(Report report, bool waitsForConnection);

  /// Whether `Quorvel::prepare` fetches it; at first it does.
  void setIsPrepared(bool isPrepared) { isPrepared_ = isPrepared; }
  [[nodiscard]] bool isPrepared() const { return isPrepared_; }
  /// Whether it would be answered with within the call.
  [[nodiscard]] bool isAtHand() const { return freshDocument() != nullptr; }
  /// Whether the last fetch is so recent that another one has no use.
  [[nodiscard]] bool isJustTried() const;
  [[nodiscard]] bool comesAlong() const { return parameters_.comesAlong; }

  /// Why the latest fetch failed, and when; nothing if it did not.
  [[nodiscard]] std::optional<SettingsFailure> lastFailure() const;

 private:
  struct Document;
  struct Fetch;
  struct Waiting {
    RecordType type;
    Callback callback;
  };
  /// Those whom the fetch under way is for.
  struct Audience {
    std::vector<Waiting> waiting;
    Report report;  // null: none
  };
  using SharedDocument = std::shared_ptr<Document>;

  explicit CachedDocument(Parameters parameters);
  [[nodiscard]] SharedDocument freshDocument() const;
  [[nodiscard]] Record recordIn(const SharedDocument& document, RecordType type);
  // What fetches is seldom run: once in a time to live, while each question asks for records.
  [[gnu::cold]] bool fetch(std::unique_lock<std::mutex> lock, bool waitsForConnection);
  [[nodiscard, gnu::cold]] ProviderService serviceFor(const SharedDocument& known,
                                                      bool waitsForConnection) const;
  [[gnu::cold]] void finish(Fetch& fetch, std::optional<PellixPlatform::Data> data,
                            const PellixPlatform::URLResponse* response,
                            std::optional<PellixPlatform::Error> error);
  [[gnu::cold]] void abandonFetch();

  const Parameters parameters_;
  std::atomic<bool> isPrepared_ = true;
  mutable std::mutex mutex_;  // guards these, and a document but for its text
  SharedDocument document_;   // the last good one; null if there has been none
  const std::unique_ptr<Freshness> freshness_;
  std::optional<SettingsFailure> lastFailure_;
  bool isFetching_ = false;
  Audience audience_;
};

}  // namespace QuorvelCoreSDK
