#include "Models/RequestBodies.h"

#include <utility>

namespace PellixProvidersSDK {

using PellixPlatform::Key;

InteractionRequestBody::InteractionRequestBody(std::string reference, std::string question,
                                               std::string inLocale,
                                               std::vector<std::string> withLabels,
                                               std::optional<std::int64_t> brand)
    : interactionReference(std::move(reference)),
      enquiry(std::move(question)),
      locale(std::move(inLocale)),
      labels(std::move(withLabels)),
      brandID(brand) {}

void InteractionRequestBody::encode(PellixPlatform::Encoder& encoder) const {
  using Body = InteractionRequestBody;
  static constexpr std::tuple keys{
      Key{"via_id", &Body::viaID},
      Key{"deflection_channel_id", &Body::deflectionChannelID},
      Key{"interaction_reference", &Body::interactionReference},
      Key{"interaction_reference_type", &Body::interactionReferenceType},
      Key{"enquiry", &Body::enquiry},
      Key{"locale", &Body::locale},
      Key{"labels", &Body::labels},
      Key{"brand_id", &Body::brandID},
  };
  encoder.encode(*this, keys);
}

void ResolutionRequestBody::encode(PellixPlatform::Encoder& encoder) const {
  using Body = ResolutionRequestBody;
  static constexpr std::tuple keys{
      Key{"deflection_id", &Body::deflectionId},
      Key{"article_id", &Body::articleId},
      Key{"resolution_channel_id", &Body::resolutionChannelId},
      Key{"interaction_access_token", &Body::interactionAccessToken},
  };
  encoder.encode(*this, keys);
}

void RejectionRequestBody::encode(PellixPlatform::Encoder& encoder) const {
  using Body = RejectionRequestBody;
  static constexpr std::tuple keys{
      Key{"deflection_id", &Body::deflectionId},
      Key{"article_id", &Body::articleId},
      Key{"resolution_channel_id", &Body::resolutionChannelId},
      Key{"interaction_access_token", &Body::interactionAccessToken},
      Key{"reason_id", &Body::reason},
  };
  encoder.encode(*this, keys);
}

}  // namespace PellixProvidersSDK
