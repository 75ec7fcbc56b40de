#pragma once

#include "Host.h"
#include "Interaction.h"

namespace PellixApp {

using PellixProvidersSDK::Pellix;
using PellixProvidersSDK::RejectionReason;

/// Asks the question, shows the answer and, on a terminal, offers to go on from there.
[[nodiscard]] ExitCode ask(const Pellix& pellix, const Options& options);

/// Checks all that a query takes, without anything set up, and says what stands in the way.
[[nodiscard]] ExitCode doctor(Options options);

/// Says whether the feature is enabled.
[[nodiscard]] ExitCode settings();

/// Reports that the article resolved the question.
[[nodiscard]] ExitCode resolve(const Pellix& pellix, const Interaction& interaction);

/// Reports that the article was rejected.
[[nodiscard]] ExitCode reject(const Pellix& pellix, const Interaction& interaction,
                              RejectionReason reason);

}  // namespace PellixApp
