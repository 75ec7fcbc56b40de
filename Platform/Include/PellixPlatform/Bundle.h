#pragma once

#include <PellixPlatform/Export.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace PellixPlatform {

/// A value of a bundle's information dictionary; `std::monostate` stands for a list, a dictionary,
/// a date or data.
using InfoValue = std::variant<std::monostate, std::string, std::int64_t, double, bool>;

/// The resources that belong to a library: one directory with its files and its `Info.plist`.
///
/// Thread safety: any thread; a bundle never changes once found.
class PELLIX_EXPORT Bundle {
 public:
  /// The bundle of the library or program whose image holds `address`: pass the address of a static
  /// object that is defined beside the code in question.
  ///
  /// If the host set a directory, the bundle is that one. Else it is the first of these that
  /// exists: `share/PellixProvidersSDK` in the image's installation prefix; in the prefix of the
  /// CMake package by which a program was linked with static libraries; in the directory of the
  /// sources that the library was built from; and in the prefix that it was configured for. It is
  /// found once for each image, so a later change of the working directory has no effect. The
  /// result is never destroyed.
  [[nodiscard]] static const Bundle& containing(const void* address);

  /// Makes `directory` the place of all resources. To be called before anything else is.
  /// Errors: `std::filesystem::filesystem_error` if it is relative and there is no working
  /// directory.
  static void setResourceDirectory(const std::filesystem::path& directory);

  /// The file `NAME.EXTENSION` among the resources, or nothing if there is none.
  [[nodiscard]] std::optional<std::filesystem::path> pathForResource(
      std::string_view name, std::string_view extension) const;

  /// The value of a key of `Info.plist`, or nothing if there is no such key or no such dictionary.
  [[nodiscard]] std::optional<InfoValue> objectForInfoDictionaryKey(std::string_view key) const;

 private:
  explicit Bundle(std::filesystem::path directory);

  std::filesystem::path directory_;
  std::map<std::string, InfoValue, std::less<>> info_;
};

}  // namespace PellixPlatform
