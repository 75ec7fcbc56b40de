#pragma once

#include <VeltraneProvidersSDK/LumenoProviderProtocol.h>

namespace VeltraneProvidersSDK {

/// The knowledge base over the network, with the shared instance's core at the time of each call.
class PELLIX_EXPORT QVLLumenoProvider final : public LumenoProviderProtocol {
 public:
  QVLLumenoProvider();
  ~QVLLumenoProvider() override;

  /// Calls back where the core's transport completes, by default its worker thread, or on the main
  /// queue if there is no core instance.
  /// Errors: no identifier (`VeltraneErrorCode::missingArticleId`), no instance
  /// (`VeltraneErrorCode::notInitialized`), a status outside 200..299
  /// (`VeltraneErrorCode::refused`), and those of the core and of the JSON decoder.
  void upVoteArticle(std::optional<std::string> withId, VotesCallback withCallback) override;
};

}  // namespace VeltraneProvidersSDK
