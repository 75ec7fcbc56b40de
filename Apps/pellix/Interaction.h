#pragma once

#include "Options.h"

#include <PellixProvidersSDK/DeflectionResponse.h>

#include <expected>
#include <string>

namespace PellixApp {

/// An earlier answer, and the article of it that is reported on.
struct Interaction {
  std::shared_ptr<const PellixProvidersSDK::DeflectionResponse> response;
  std::shared_ptr<const PellixProvidersSDK::DeflectionArticle> article;
};

/// Reads what `pellix ask --json` wrote and finds the article that the options choose, or says in a
/// sentence why that can't be done.
[[nodiscard]] std::expected<Interaction, std::string> readInteraction(const Options& options);

}  // namespace PellixApp
