#pragma once

#include <PellixPlatform/Data.h>
#include <PellixPlatform/Error.h>
#include <QuorvelCoreSDK/AccountDetails.h>
#include <QuorvelCoreSDK/ClientHeaders.h>

#include <chrono>
#include <expected>
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
/// Ownership: always held by a shared pointer, which a fetch under way shares.
/// Thread safety: any thread.
class PELLIX_EXPORT CachedDocument final : public std::enable_shared_from_this<CachedDocument> {
 public:
  using Document = std::shared_ptr<const PellixPlatform::Data>;
  using Callback = std::function<void(Document)>;

  /// Where a document that is at hand is handed out: within the call, or on the transport's thread.
  enum class Delivery : std::uint8_t { atOnce, posted };

  struct Parameters {
    /// As handed out by a core instance.
    AccountDetails environment;
    /// Below the account's address.
    std::string path;
    /// What the document is called in the log.
    std::string name;
    /// Never null.
    std::shared_ptr<const ClientHeaders> clientHeaders;
    Delivery delivery = Delivery::atOnce;
  };

  explicit CachedDocument(Parameters parameters);

  /// Calls `callback` once and lets go of it: with well-formed JSON, or with null if there is none
  /// to be had. A document that has to be fetched comes on the transport's thread. If memory runs
  /// out meanwhile, or the transport drops the request, `callback` is let go of without a call.
  void get(Callback callback);

 private:
  using Clock = std::chrono::steady_clock;

  struct Fetch;
  Document freshDocument();
  void fetch();
  void finish(Fetch& fetch, std::expected<PellixPlatform::Data, PellixPlatform::Error> fetched);
  std::vector<Callback> takeWaiting();

  const Parameters parameters_;
  std::mutex mutex_;
  Document document_;  // the last good one; null if there has been none
  Clock::time_point freshUntil_;
  std::vector<Callback> waiting_;  // a fetch is under way exactly while somebody waits
};

}  // namespace QuorvelCoreSDK
