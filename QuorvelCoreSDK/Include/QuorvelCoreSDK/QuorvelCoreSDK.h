#pragma once

#include <QuorvelCoreSDK/AccountDetails.h>
#include <QuorvelCoreSDK/ClientHeaders.h>
#include <QuorvelCoreSDK/Configuration.h>
#include <QuorvelCoreSDK/CoreError.h>
#include <QuorvelCoreSDK/CoreLogger.h>
#include <QuorvelCoreSDK/HttpMethod.h>
#include <QuorvelCoreSDK/ProviderModule.h>
#include <QuorvelCoreSDK/ProviderService.h>
#include <QuorvelCoreSDK/Quorvel.h>
#include <QuorvelCoreSDK/Reporter.h>
#include <QuorvelCoreSDK/SettingsProvider.h>
#include <QuorvelCoreSDK/Transport.h>
