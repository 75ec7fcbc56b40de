#include <PellixProvidersSDK/Deflection.h>

namespace PellixProvidersSDK {

using PellixPlatform::Key;

struct [[gnu::visibility("hidden")]] Deflection::Keys {
  static constexpr std::tuple table{
      Key{"id", &Fields::deflectionID},
      Key{"auth_token", &Fields::authToken},
  };
};

Deflection::Deflection(const PellixPlatform::Decoder& decoder)
    : fields_(decoder.decode(Keys::table)) {}
Deflection::~Deflection() = default;

void Deflection::encode(PellixPlatform::Encoder& encoder) const {
  encoder.encode(fields_, Keys::table);
}

bool Deflection::isEqual(const PellixPlatform::Object* other) const {
  const auto* that = dynamic_cast<const Deflection*>(other);
  return that && PellixPlatform::sameFields(fields_, that->fields_, Keys::table);
}

}  // namespace PellixProvidersSDK
