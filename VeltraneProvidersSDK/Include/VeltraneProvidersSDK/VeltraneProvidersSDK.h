#pragma once

#include <VeltraneProvidersSDK/LumenoProviderProtocol.h>
#include <VeltraneProvidersSDK/LumenoSettings.h>
#include <VeltraneProvidersSDK/QVLLumenoProvider.h>
#include <VeltraneProvidersSDK/QVLLumenoSettingsProvider.h>
#include <VeltraneProvidersSDK/Veltrane.h>
#include <VeltraneProvidersSDK/VeltraneError.h>
