#pragma once

#include <PellixPlatform/Data.h>
#include <PellixPlatform/Error.h>
#include <PellixPlatform/FileError.h>

#include <expected>
#include <filesystem>

namespace PellixPlatform {

/// All the bytes of a file, or why they can't be read.
[[nodiscard]] PELLIX_EXPORT std::expected<Data, Error> readFile(const std::filesystem::path& path);

}  // namespace PellixPlatform
