#include "Providers/PellixProviderDependencies.h"
#include "Resources/LocaleProvider.h"

#include <PellixPlatform/internal/FatalError.h>
#include <PellixPlatform/internal/UUID.h>
#include <PellixProvidersSDK/Pellix.h>
#include <QuorvelCoreSDK/CoreLogger.h>
#include <QuorvelCoreSDK/Quorvel.h>
#include <VeltraneProvidersSDK/QVLLumenoProvider.h>
#include <VeltraneProvidersSDK/Veltrane.h>

#include <utility>

namespace PellixProvidersSDK {

using QuorvelCoreSDK::CoreLogger;
using QuorvelCoreSDK::Quorvel;
using VeltraneProvidersSDK::QVLLumenoProvider;
using VeltraneProvidersSDK::Veltrane;

struct Pellix::Dependencies {
  std::shared_ptr<LocaleProvider> localeProvider;
  std::shared_ptr<PellixProvider> provider;
  std::shared_ptr<Veltrane> veltrane;
  std::string UUIDString;
  std::shared_ptr<Quorvel> quorvel;

  Dependencies(std::shared_ptr<Quorvel> withQuorvel, std::shared_ptr<Veltrane> withVeltrane)
      : veltrane(std::move(withVeltrane)), quorvel(std::move(withQuorvel)) {
    localeProvider = std::make_shared<LocaleProvider>(veltrane);
    UUIDString = PellixPlatform::makeUUIDString();
    CoreLogger::debug("Initialized Providers with UUID: " + UUIDString);
    auto lumenoProvider = std::make_shared<QVLLumenoProvider>();
    provider = std::make_shared<PellixProvider>(
        PellixProvider::Dependencies{.quorvel = quorvel,
                                     .localeProvider = localeProvider,
                                     .UUID = UUIDString,
                                     .lumenoProvider = std::move(lumenoProvider)});
  }
};

namespace {

std::shared_ptr<const Pellix>& sharedFacade() {
  static auto& facade = *new std::shared_ptr<const Pellix>;  // leaked: there is no shutdown
  return facade;
}

}  // namespace

Pellix::Pellix() {
  PellixPlatform::fatalUnimplementedInitializer("PellixProvidersSDK.Pellix", "init()");
}

Pellix::Pellix(Dependencies dependencies)
    : dependencies_(std::make_unique<const Dependencies>(std::move(dependencies))) {}
Pellix::~Pellix() = default;

void Pellix::initialize(std::shared_ptr<Quorvel> withQuorvel, std::shared_ptr<Veltrane> veltrane) {
  if (!withQuorvel) {
    CoreLogger::error(
        "The Quorvel instance passed into initialize(withQuorvel:) was nil.\n"
        "Failed to initialize the Pellix SDK, have you initialized the Core SDK?");
    return;
  }
  auto& facade = sharedFacade();
  if (facade) {
    const auto& existing = facade->dependencies_->quorvel->accountDetails();
    const auto& added = withQuorvel->accountDetails();
    // The client identifiers are deliberately not looked at: whoever has the same application
    // identifier has the same details.
    if (existing.applicationId() == added.applicationId()) {
      CoreLogger::info("Initializing Pellix with the same details");
      return;
    }
  }
  facade =
      std::make_shared<const Pellix>(Dependencies(std::move(withQuorvel), std::move(veltrane)));
  CoreLogger::info("Initializing Pellix SDK.");
}

std::shared_ptr<const Pellix> Pellix::instance() {
  auto facade = sharedFacade();  // as it is, even if the log's sink sets the library up
  if (!facade) {
    // The text speaks of the other library; it is kept as it has always been.
    CoreLogger::warn("Instance of Veltrane is nil, have you initialized the Veltrane SDK?");
  }
  return facade;
}

const std::shared_ptr<PellixProvider>& Pellix::provider() const {
  return dependencies_->provider;
}

}  // namespace PellixProvidersSDK
