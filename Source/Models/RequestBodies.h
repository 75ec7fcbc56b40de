#pragma once

#include <PellixPlatform/Encoder.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace PellixProvidersSDK {

/// The channel through which this library's questions and reports reach the answer service.
inline constexpr std::int64_t channel = 65;

/// The answer service's number for an interaction that is referred to by a UUID.
inline constexpr std::int64_t referenceByUUID = 4;

/// What is sent to ask a question.
struct InteractionRequestBody {
  const std::int64_t viaID = channel;
  const std::int64_t deflectionChannelID = channel;
  const std::string interactionReference;
  const std::int64_t interactionReferenceType = referenceByUUID;
  const std::string enquiry;
  const std::string locale;
  const std::vector<std::string> labels;
  const std::optional<std::int64_t> brandID;  // left out when absent

  InteractionRequestBody(std::string reference, std::string question, std::string inLocale,
                         std::vector<std::string> withLabels, std::optional<std::int64_t> brand);

  void encode(PellixPlatform::Encoder& encoder) const;
};

/// What is sent to report that an article resolved a question. Whoever makes one names each member.
struct ResolutionRequestBody {
  std::int64_t deflectionId;
  std::int64_t articleId;
  std::int64_t resolutionChannelId;
  std::string interactionAccessToken;

  void encode(PellixPlatform::Encoder& encoder) const;
};

/// What is sent to report that an article was rejected. Nothing is checked, the reason neither.
struct RejectionRequestBody {
  std::int64_t deflectionId;
  std::int64_t articleId;
  std::int64_t resolutionChannelId;  // deliberately under the name it has in a resolution
  std::string interactionAccessToken;
  std::int64_t reason;

  void encode(PellixPlatform::Encoder& encoder) const;
};

}  // namespace PellixProvidersSDK
