#pragma once

#include "Commands.h"

namespace PellixApp {

/// Offers the person to read the articles of an answer and to say whether one of them helped, until
/// one did or the person has had enough.
[[nodiscard]] ExitCode converse(
    const Pellix& pellix,
    const std::shared_ptr<const PellixProvidersSDK::DeflectionResponse>& response);

}  // namespace PellixApp
