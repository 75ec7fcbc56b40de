#pragma once

#include <PellixPlatform/Export.h>

#include <optional>
#include <string>
#include <vector>

namespace PellixPlatform::Locale {

/// The person's preferred languages as BCP 47 tags, most preferred first; may be empty.
///
/// They are what the host set, else what the environment says: the list in LANGUAGE, then the first
/// of LC_ALL, LC_MESSAGES and LANG that is set. A modifier that tells a script or a variant counts
/// (`sr_RS@latin` is `sr-Latn-RS`). `C`, `POSIX` and aliases such as `german` name no language.
///
/// Thread safety: any thread, as long as none changes the environment meanwhile.
[[nodiscard]] PELLIX_EXPORT std::vector<std::string> preferredLanguages();

/// Replaces what the environment says, on systems that keep their languages elsewhere;
/// `std::nullopt` brings the environment's back. Thread safety: any thread.
PELLIX_EXPORT void setPreferredLanguages(std::optional<std::vector<std::string>> languages);

}  // namespace PellixPlatform::Locale
