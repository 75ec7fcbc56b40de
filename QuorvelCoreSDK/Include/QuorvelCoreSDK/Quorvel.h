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

struct Surroundings;

/// The core library's instance for one account.
///
/// Requests run on one worker thread that all instances share; it starts with the first request and
/// ends with the process, in whatever way that ends. A process that was forked from one with that
/// thread can't have its own: every operation there ends at once, its callback released without a
/// call, and the log says so once.
///
/// Thread safety: any thread.
class PELLIX_EXPORT Quorvel final : public PellixPlatform::Object {
 public:
  ~Quorvel() override;

  /// Sets up the core for an account and makes the result the shared instance, in place of an
  /// earlier one. Errors: `invalidAccountUrl`, `insecureUrl` for an address that is neither https
  /// nor loopback, and, unless the host brings a transport of its own, `invalidProxy`; the shared
  /// instance stays as it was then.
  [[nodiscard]] static std::expected<std::shared_ptr<Quorvel>, PellixPlatform::Error> initialize(
      const AccountDetails& accountDetails, Configuration configuration = {});

  /// Ends every operation of the process, of all instances: for a host that can't bear callbacks
  /// any longer, because its language or its runtime is about to go.
  ///
  /// No request goes out any more, and what is under way is let go of. Every callback that waits is
  /// released without a call, within this call and on this thread, also those in the main queue.
  /// Those that run on other threads are waited for, `limit` at most. The result is whether all are
  /// gone; a callback that this is called in goes when it returns, and does not count. (What
  /// another thread is about to start meanwhile ends within its own call.) So it is with token
  /// suppliers and the log's sink, which then run only within the host's own calls. Operations that
  /// are started later end at once, their callbacks released, until `initialize` has made an
  /// instance again.
  ///
  /// A host's own transport may still send what it was given before, and its replies lead nowhere.
  /// In a forked child this does nothing, and what the parent had under way counts as not gone.
  ///
  /// Thread safety: any thread, also several at once, within callbacks, and while the process ends.
  static bool shutDown(std::chrono::milliseconds limit);

  /// The shared instance, or null while there is none.
  [[nodiscard]] static std::shared_ptr<Quorvel> instance();

  [[nodiscard]] const AccountDetails& accountDetails() const;
  [[nodiscard]] const ProviderModule& providerModule() const;

  /// Gets ready, in the background, for what a person is about to ask: the settings documents that
  /// this library and those above it keep are fetched if they are not at hand (else the account's
  /// are asked for once more, at most every five seconds), and a connection to the account's server
  /// stands then. What is asked meanwhile joins in. A host calls it when its help screen opens; the
  /// first question after it costs one round trip. If it fails, there is one line in the log. With
  /// a settings service of the host's own, and no other library, it does nothing; nor does it after
  /// `shutDown`, or in a forked child.
  /// Thread: any; it returns at once. Memory: `std::bad_alloc` leaves this call.
  void prepare() const;

  /// Why the account's settings could not be fetched the last time that it was tried, and when;
  /// nothing if they could. While there are none to be had, records are their types' defaults: this
  /// tells a service that can't be reached from settings that say the same.
  [[nodiscard]] std::optional<SettingsFailure> lastSettingsFailure() const;

  /// Waits until no request and no task of this instance is under way, `limit` at most; whether it
  /// came to that. What a callback or a task starts follows without a gap. Callbacks that the main
  /// queue is to run may still wait there. Not to be called on the worker thread, that is, by a
  /// callback that says it runs there.
  bool waitUntilIdle(std::chrono::milliseconds limit) const;

  /// Runs `task` once on the transport's thread, never within this call.
  void post(std::function<void()> task) const;

 private:
  friend std::expected<std::shared_ptr<Quorvel>, PellixPlatform::Error> makeQuorvel(
      const AccountDetails& accountDetails, Configuration configuration, Surroundings surroundings);
  static std::expected<std::shared_ptr<Quorvel>, PellixPlatform::Error> make(
      const AccountDetails& accountDetails, Configuration configuration, Surroundings surroundings);
  struct Parts;
  explicit Quorvel(Parts parts);
  const std::unique_ptr<const Parts> parts_;
};

}  // namespace QuorvelCoreSDK
