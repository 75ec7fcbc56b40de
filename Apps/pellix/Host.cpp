#include "Host.h"

#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>

namespace PellixApp {

using PellixProvidersSDK::Pellix;

std::expected<std::shared_ptr<const Pellix>, PellixPlatform::Error> setUp(const Options& options) {
  if (options.verbose) {
    QuorvelCoreSDK::CoreLogger::setLevel(QuorvelCoreSDK::LogLevel::debug);
  }
  static_cast<void>(EventLoop::shared());  // before anything can wake it
  QuorvelCoreSDK::Configuration configuration;
  configuration.token = [token = options.token] { return token; };
  configuration.network.certificateAuthorities = options.certificateAuthorities;
  auto quorvel = QuorvelCoreSDK::Quorvel::initialize(
      {options.accountUrl, options.applicationId, options.clientId}, std::move(configuration));
  if (!quorvel) return std::unexpected(std::move(quorvel).error());

  const auto veltrane = VeltraneProvidersSDK::Veltrane::initialize(*quorvel);
  veltrane->setLumenoLocaleOverride(options.locale);
  Pellix::initialize(*quorvel, veltrane);
  return Pellix::instance();
}

void waitUntilIdle() {
  constexpr std::chrono::seconds longest{35};  // no request takes longer
  if (const auto quorvel = QuorvelCoreSDK::Quorvel::instance()) quorvel->waitUntilIdle(longest);
}

}  // namespace PellixApp
