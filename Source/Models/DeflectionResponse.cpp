#include <PellixProvidersSDK/DeflectionResponse.h>

namespace PellixProvidersSDK {

using PellixPlatform::Key;

struct [[gnu::visibility("hidden")]] DeflectionResponse::Keys {
  static constexpr std::tuple table{
      Key{"deflection", &Fields::deflection},
      Key{"deflection_articles", &Fields::deflectionArticles},
      Key{"interaction_access_token", &Fields::interactionAccessToken},
  };
};

DeflectionResponse::DeflectionResponse(const PellixPlatform::Decoder& decoder)
    : fields_(decoder.decode(Keys::table)) {}
DeflectionResponse::~DeflectionResponse() = default;

void DeflectionResponse::encode(PellixPlatform::Encoder& encoder) const {
  encoder.encode(fields_, Keys::table);
}

bool DeflectionResponse::isEqual(const PellixPlatform::Object* other) const {
  const auto* that = dynamic_cast<const DeflectionResponse*>(other);
  return that && PellixPlatform::sameFields(fields_, that->fields_, Keys::table);
}

}  // namespace PellixProvidersSDK
