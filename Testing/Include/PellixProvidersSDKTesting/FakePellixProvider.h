#pragma once

#include <PellixProvidersSDK/PellixProviderProtocol.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace PellixProvidersSDK::Testing {

using PellixProvidersSDK::Ending;

/// For an `Ending`: the callback is let go of without a call.
inline constexpr std::nullopt_t silence = std::nullopt;

/// A success with the response that `json` holds, in the form in which the answer service replies.
/// Throws `std::invalid_argument`, which says what is wrong where, if it can't be decoded.
[[nodiscard]] Ending<DeflectionResponse> responseFrom(std::string_view json);

/// A success with the reply to a resolution or a rejection. Throws `std::invalid_argument` unless
/// the status is one of 200..299: the real provider gives an error for others.
[[nodiscard]] Ending<PellixDispatcherResponse> httpResponse(
    int status = 200, std::optional<PellixPlatform::Data> body = {});

/// A provider without anything behind it, for the tests of hosts: it ends operations as it is told
/// to, when it is told to.
///
/// Each call waits, with the ending scripted when it was made, until `finish` or `finishAll` ends
/// it; what is scripted holds until something else is. So a test looks at what a host does
/// meanwhile, and lets answers come in an order of its own. Without a script an operation fails as
/// if nothing listened (`QuorvelCoreSDK::CoreErrorCode::cannotConnect`).
///
/// Callbacks: called once and then released, or released uncalled, as by the real provider; within
/// the function that ends the call and on its thread, not through the main queue.
///
/// Ownership: callbacks are retained until their call ends. If the fake goes, calls that wait end
/// silently; a callback may let go of it.
/// Thread safety: any thread.
class FakePellixProvider final : public PellixProviderProtocol {
 public:
  enum class Operation : std::uint8_t { query, resolution, rejection };

  /// A call of an operation, with what it was given.
  struct Call {
    Operation operation;
    std::string query;              ///< Of a query alone.
    std::int64_t deflectionId = 0;  ///< Like the next two, not of a query.
    std::int64_t articleId = 0;
    std::string interactionAccessToken;
    std::optional<RejectionReason> reason;  ///< Of a rejection alone.

    friend bool operator==(const Call&, const Call&) = default;
  };

  FakePellixProvider();
  ~FakePellixProvider() override;
  FakePellixProvider(const FakePellixProvider&) = delete;
  FakePellixProvider& operator=(const FakePellixProvider&) = delete;

  // How operations end that are called from now on.

  void onQuery(Ending<DeflectionResponse> ending);
  void onResolution(Ending<PellixDispatcherResponse> ending);
  void onRejection(Ending<PellixDispatcherResponse> ending);

  /// Ends calls made from now on before they return, or not. The real provider may do so where the
  /// feature is disabled, and a host had better stand it.
  void endWithinCalls(bool within);

  /// The calls made so far, in order.
  [[nodiscard]] std::vector<Call> calls() const;

  /// Ends one of `calls`, by its index. Throws `std::out_of_range` if no such call waits.
  void finish(std::size_t call);

  /// Ends all calls that wait, in their order, those that callbacks make too. How many.
  std::size_t finishAll();

  // The operations, with both kinds of callbacks, as `PellixProvider` has them.

  void getDeflectionForQuery(std::string query,
                             ResultCallback<DeflectionResponse> callback) override;
  void getDeflectionForQuery(std::string query, OptionalsCallback<DeflectionResponse> callback);
  void resolveWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                          std::string interactionAccessToken,
                          ResultCallback<PellixDispatcherResponse> callback) override;
  void resolveWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                          std::string interactionAccessToken,
                          OptionalsCallback<PellixDispatcherResponse> callback);
  void rejectWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                         std::string interactionAccessToken, RejectionReason reason,
                         ResultCallback<PellixDispatcherResponse> callback) override;
  void rejectWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                         std::string interactionAccessToken, RejectionReason reason,
                         OptionalsCallback<PellixDispatcherResponse> callback);

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace PellixProvidersSDK::Testing
