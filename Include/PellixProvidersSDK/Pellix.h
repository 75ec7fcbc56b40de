#pragma once

#include <PellixPlatform/Object.h>
#include <PellixProvidersSDK/PellixProvider.h>

#include <memory>

namespace QuorvelCoreSDK {
class Quorvel;
}
namespace VeltraneProvidersSDK {
class Veltrane;
}

namespace PellixProvidersSDK {

/// The library's entry: set it up once, then reach everything through `instance()->provider()`.
///
/// Thread safety: call `initialize` from one thread, before any other thread reads `instance`.
/// Whatever goes wrong is logged, never reported to the caller.
class PELLIX_EXPORT Pellix final : public PellixPlatform::Object {
 public:
  /// Stops the process: use `initialize`.
  [[noreturn]] Pellix();

  /// For the library itself, which alone knows what a `Dependencies` is.
  struct Dependencies;
  explicit Pellix(Dependencies dependencies);

  ~Pellix() override;

  /// Sets up the library for the account of `withQuorvel`. If that is null, nothing changes. If the
  /// library is set up already for the same application identifier, nothing changes either:
  /// questions and reports go on with the earlier core instance, while the account's settings are
  /// those of the latest, and the knowledge base's settings and votes go by the latest `Veltrane`.
  /// For another one, a new facade takes the place of the earlier, whose provider ends with its
  /// last owner: so a host that changes its account, or its options, gives each an application
  /// identifier of its own.
  ///
  /// Ownership: both instances are retained. `veltrane` is not null.
  static void initialize(std::shared_ptr<QuorvelCoreSDK::Quorvel> withQuorvel,
                         std::shared_ptr<VeltraneProvidersSDK::Veltrane> veltrane);

  /// The shared facade, or null while the library is not set up. It is never taken away again.
  [[nodiscard]] static std::shared_ptr<const Pellix> instance();

  /// Never null.
  [[nodiscard]] const std::shared_ptr<PellixProvider>& provider() const;

 private:
  const std::unique_ptr<const Dependencies> dependencies_;
};

}  // namespace PellixProvidersSDK
