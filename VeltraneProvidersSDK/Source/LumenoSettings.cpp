#include <VeltraneProvidersSDK/LumenoSettings.h>

namespace VeltraneProvidersSDK {

LumenoSettings::LumenoSettings(const PellixPlatform::Decoder& decoder)
    : locale_(decoder.read<std::string>("locale")) {}

LumenoSettings::~LumenoSettings() = default;

}  // namespace VeltraneProvidersSDK
