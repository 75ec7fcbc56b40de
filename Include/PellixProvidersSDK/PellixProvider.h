#pragma once

#include <PellixPlatform/Object.h>
#include <PellixProvidersSDK/PellixProviderProtocol.h>

#include <memory>
#include <string>

namespace PellixProvidersSDK {

/// The library's operations for one account. A host gets it from `Pellix::instance()->provider()`.
///
/// Thread safety: any thread; operations are independent of each other.
///
/// Ownership: operations under way do not keep the provider alive. If it goes, they end silently.
///
/// Threads of callbacks: results come on the main queue, which the host runs
/// (`PellixPlatform::DispatchQueue::main`). The error that says that the feature is disabled comes
/// within the call when all that it takes is at hand, else where the core's transport completes:
/// the default one on its worker thread, or on the main queue if the system has no descriptor for
/// that.
///
/// Errors that any operation may give:
/// - `PellixDisabledErrorDomain`, code 1006: the feature is disabled for the account;
/// - `PellixErrorDomain`, the status as code: an HTTP status outside 200..299;
/// - those of the request service, such as `QuorvelCoreSDK::CoreErrorDomain`, unchanged.
///
/// Memory: when it runs out, `std::bad_alloc` leaves the operation's call, or the call of the main
/// queue's `run`, `runFor` or `runPending`; on the core's worker thread it ends the operation
/// silently. The callback is released in any case. An operation whose call threw may be under way
/// all the same: a resolution may be sent already when its vote fails.
///
/// Silent endings of any operation: no core instance; the endpoint table lacks the operation; the
/// account's address and the endpoint's template make no URL; the body can't be encoded (a line is
/// printed on standard output then); what came was neither an error nor a response over HTTP; the
/// host ended all deliveries (`Quorvel::shutDown`); the process is a forked child.
class PELLIX_EXPORT PellixProvider final : public PellixPlatform::Object,
                                           public PellixProviderProtocol {
 public:
  /// Stops the process: providers are made by `Pellix::initialize`.
  [[noreturn]] PellixProvider();

  /// For the library itself, which alone knows what a `Dependencies` is.
  struct Dependencies;
  explicit PellixProvider(Dependencies dependencies);

  ~PellixProvider() override;

  /// Asks for articles that may answer `query`, a person's question in UTF-8, sent as it is.
  ///
  /// Besides the errors above, a reply that can't be decoded gives the decoder's error
  /// (`PellixPlatform::DecodingErrorDomain`). Besides the silent endings above, a success without a
  /// body is one.
  void getDeflectionForQuery(std::string query,
                             ResultCallback<DeflectionResponse> callback) override;

  /// The same with the other kind of callback.
  void getDeflectionForQuery(std::string query, OptionalsCallback<DeflectionResponse> callback);

  /// Reports that an article resolved the question, and votes for it in the knowledge base.
  ///
  /// `deflectionId` is the deflection's `deflectionID`, `articleId` the article's `articleId`, and
  /// the token the response's `interactionAccessToken`; all are sent as they are. The vote goes out
  /// with the report, whatever becomes of that; if it fails, that only shows in the log, at debug
  /// level.
  void resolveWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                          std::string interactionAccessToken,
                          ResultCallback<PellixDispatcherResponse> callback) override;

  /// The same with the other kind of callback.
  void resolveWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                          std::string interactionAccessToken,
                          OptionalsCallback<PellixDispatcherResponse> callback);

  /// Reports that an article did not resolve the question; as for a resolution, but nothing is
  /// voted for. The reason is sent as its number.
  void rejectWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                         std::string interactionAccessToken, RejectionReason reason,
                         ResultCallback<PellixDispatcherResponse> callback) override;

  /// The same with the other kind of callback.
  void rejectWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                         std::string interactionAccessToken, RejectionReason reason,
                         OptionalsCallback<PellixDispatcherResponse> callback);

 private:
  struct Steps;
  const std::unique_ptr<const Dependencies> dependencies_;
};

}  // namespace PellixProvidersSDK
