#pragma once

#include <PellixProvidersSDK/Deflection.h>
#include <PellixProvidersSDK/DeflectionArticle.h>
#include <PellixProvidersSDK/DeflectionResponse.h>
#include <PellixProvidersSDK/Pellix.h>
#include <PellixProvidersSDK/PellixDispatcherResponse.h>
#include <PellixProvidersSDK/PellixError.h>
#include <PellixProvidersSDK/PellixProvider.h>
#include <PellixProvidersSDK/PellixProviderProtocol.h>
#include <PellixProvidersSDK/PellixSettings.h>
#include <PellixProvidersSDK/PellixSettingsProvider.h>
#include <PellixProvidersSDK/RejectionReason.h>
#include <PellixProvidersSDK/ResourceBundle.h>
#include <PellixProvidersSDK/ResultCallback.h>
#include <PellixProvidersSDK/Version.h>
