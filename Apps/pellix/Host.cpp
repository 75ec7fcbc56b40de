#include "Host.h"

#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>

#include <algorithm>

namespace PellixApp {

using PellixProvidersSDK::Pellix;
using QuorvelCoreSDK::Quorvel;

static std::shared_ptr<const TimingTransport> timing;

std::expected<std::shared_ptr<Quorvel>, PellixPlatform::Error> setUpCore(const Options& options) {
  QuorvelCoreSDK::Configuration configuration;
  configuration.token = [token = options.token] { return token; };
  configuration.network.certificateAuthorities = options.certificateAuthorities;
  configuration.network.connectTimeout =
      std::min(options.timeout, configuration.network.connectTimeout);
  configuration.network.requestTimeout = options.timeout;
  if (options.timings) {
    auto transport = QuorvelCoreSDK::makeTransport(configuration.network);
    if (!transport) return std::unexpected(std::move(transport).error());
    const auto around = std::make_shared<TimingTransport>(*std::move(transport));
    configuration.transport = around;
    timing = around;
  }
  return Quorvel::initialize({options.accountUrl, options.applicationId, options.clientId},
                             std::move(configuration));
}

std::expected<std::shared_ptr<const Pellix>, PellixPlatform::Error> setUp(const Options& options) {
  if (options.verbose) {
    QuorvelCoreSDK::CoreLogger::setLevel(QuorvelCoreSDK::LogLevel::debug);
  }
  auto quorvel = setUpCore(options);
  if (!quorvel) return std::unexpected(std::move(quorvel).error());

  const auto veltrane = VeltraneProvidersSDK::Veltrane::initialize(*quorvel);
  veltrane->setLumenoLocaleOverride(options.locale);
  Pellix::initialize(*quorvel, veltrane);
  return Pellix::instance();
}

const TimingTransport* timings() {
  return timing.get();
}

void prepare() {
  if (const auto quorvel = Quorvel::instance()) quorvel->prepare();
}

void waitUntilIdle() {
  constexpr std::chrono::hours longest{24};  // each request has its own limit
  if (const auto quorvel = Quorvel::instance()) quorvel->waitUntilIdle(longest);
}

}  // namespace PellixApp
