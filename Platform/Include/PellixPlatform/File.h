#pragma once

#include <PellixPlatform/Data.h>
#include <PellixPlatform/Error.h>

#include <expected>
#include <filesystem>

namespace PellixPlatform {

/// The domain of the errors of `readFile`; their code is the `errno` of the call that failed.
PELLIX_EXPORT extern const char FileErrorDomain[];

/// All the bytes of a file, or why they can't be read.
[[nodiscard]] PELLIX_EXPORT std::expected<Data, Error> readFile(const std::filesystem::path& path);

}  // namespace PellixPlatform
