#pragma once

#include "Resources/LocaleProvider.h"

#include <PellixProvidersSDK/PellixProvider.h>
#include <QuorvelCoreSDK/Quorvel.h>
#include <VeltraneProvidersSDK/LumenoProviderProtocol.h>

namespace PellixProvidersSDK {

/// What a provider is made of. It is defined here and not in the public header, so that the library
/// alone can make providers.
struct PellixProvider::Dependencies {
  std::shared_ptr<QuorvelCoreSDK::Quorvel> quorvel;  // null: every operation ends silently
  std::shared_ptr<LocaleProvider> localeProvider;
  std::string UUID;
  std::shared_ptr<VeltraneProvidersSDK::LumenoProviderProtocol> lumenoProvider;
};

}  // namespace PellixProvidersSDK
