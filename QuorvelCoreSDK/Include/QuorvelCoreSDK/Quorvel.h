#pragma once

#include <PellixPlatform/Error.h>
#include <PellixPlatform/Object.h>
#include <QuorvelCoreSDK/AccountDetails.h>
#include <QuorvelCoreSDK/Configuration.h>
#include <QuorvelCoreSDK/ProviderModule.h>

#include <chrono>
#include <expected>
#include <memory>

namespace QuorvelCoreSDK {

/// The core library's instance for one account.
///
/// Requests run on one worker thread that all instances share; it starts with the first request and
/// ends with the process, in whatever way that ends. After a `fork` without `exec`, the child can
/// only exit.
///
/// Thread safety: any thread.
class PELLIX_EXPORT Quorvel final : public PellixPlatform::Object {
 public:
  ~Quorvel() override;

  /// Sets up the core for an account and makes the result the shared instance, in place of an
  /// earlier one. Errors: `invalidAccountUrl`, and `insecureUrl` for an address that is neither
  /// https nor loopback; the shared instance stays as it was then.
  [[nodiscard]] static std::expected<std::shared_ptr<Quorvel>, PellixPlatform::Error> initialize(
      AccountDetails accountDetails, Configuration configuration = {});

  /// The shared instance, or null while there is none.
  [[nodiscard]] static std::shared_ptr<Quorvel> instance();

  [[nodiscard]] const AccountDetails& accountDetails() const;
  [[nodiscard]] const ProviderModule& providerModule() const;

  /// Waits until no request and no task of this instance is under way, `limit` at most; whether it
  /// came to that. What a callback or a task starts follows without a gap. Callbacks that the main
  /// queue is to run may still wait there. Not to be called on the worker thread, that is, by a
  /// callback that says it runs there.
  bool waitUntilIdle(std::chrono::milliseconds limit) const;

  /// Runs `task` once on the transport's thread, never within this call.
  void post(std::function<void()> task) const;

 private:
  struct Parts;
  explicit Quorvel(Parts parts);
  const std::unique_ptr<const Parts> parts_;
};

}  // namespace QuorvelCoreSDK
