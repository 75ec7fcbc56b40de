#include <PellixProvidersSDK/PellixSettings.h>

namespace PellixProvidersSDK {
namespace {

constexpr std::string_view pellix = "pellix";
constexpr std::string_view enabled = "enabled";

}  // namespace

PellixSettings::PellixSettings() = default;
PellixSettings::PellixSettings(const PellixPlatform::Decoder& decoder)
    : enabled_(decoder.nested(pellix).read<bool>(PellixProvidersSDK::enabled)) {}
PellixSettings::~PellixSettings() = default;

std::shared_ptr<const PellixSettings> PellixSettings::default_() {
  return std::make_shared<const PellixSettings>();
}

}  // namespace PellixProvidersSDK
