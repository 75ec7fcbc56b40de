#pragma once

#include <PellixPlatform/Data.h>
#include <QuorvelCoreSDK/ProviderService.h>
#include <QuorvelCoreSDK/SettingsProvider.h>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace QuorvelCoreSDK {

/// A JSON document of an account that its clients need again and again, such as its settings: it is
/// fetched without authentication when it is asked for, and kept for the time to live of the core's
/// configuration. Those who ask while a fetch is under way wait for that one. When a fetch fails,
/// the last good document is the answer, and a warning is logged.
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
  };

  explicit CachedDocument(Parameters parameters);

  /// Calls `callback` once and lets go of it: with a record, or with the type's default if there is
  /// none to be had. It is called within this call if the document is at hand, else on the
  /// transport's thread. If memory runs out meanwhile, or the transport drops the request, it is
  /// let go of without a call.
  void get(RecordType type, Callback callback);

  /// Why the latest fetch failed, and when; nothing if it did not.
  [[nodiscard]] std::optional<SettingsFailure> lastFailure() const;

 private:
  struct Document;
  struct Fetch;
  struct Waiting {
    RecordType type;
    Callback callback;
  };
  using SharedDocument = std::shared_ptr<Document>;

  [[nodiscard]] SharedDocument freshDocument() const;
  void fetch();
  void finish(Fetch& fetch, std::optional<PellixPlatform::Data> data,
              const PellixPlatform::URLResponse* response,
              std::optional<PellixPlatform::Error> error);
  [[nodiscard]] Record recordIn(const SharedDocument& document, RecordType type);
  [[nodiscard]] std::vector<Waiting> takeWaiting();

  const Parameters parameters_;
  const ProviderService service_;
  mutable std::mutex mutex_;  // guards these, and the records within a document
  SharedDocument document_;   // the last good one; null if there has been none
  std::chrono::steady_clock::time_point freshUntil_;
  std::optional<SettingsFailure> lastFailure_;
  std::vector<Waiting> waiting_;  // a fetch is under way exactly while somebody waits
};

}  // namespace QuorvelCoreSDK
