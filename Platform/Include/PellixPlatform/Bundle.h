#pragma once

#include <PellixPlatform/Data.h>
#include <PellixPlatform/Error.h>
#include <PellixPlatform/Export.h>
#include <PellixPlatform/FileError.h>

#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace PellixPlatform {

/// A value of a bundle's information dictionary; `std::monostate` stands for a list, a dictionary,
/// a date, data, or a number that is malformed or out of range.
using InfoValue = std::variant<std::monostate, std::string, std::int64_t, double, bool>;

/// A library's resources: files that it carries within itself, so that a program that links it
/// needs none at run time. A directory can take their place.
///
/// Thread safety: any thread.
class PELLIX_EXPORT Bundle {
 public:
  /// A file that a library carries.
  struct Resource {
    std::string_view fileName;
    std::string_view bytes;
  };

  /// The bundle of a library that carries these; they are borrowed for the bundle's life. One of
  /// them may be the information dictionary, `Info.plist`.
  explicit Bundle(std::span<const Resource> carried);
  ~Bundle();
  Bundle(const Bundle&) = delete;
  Bundle& operator=(const Bundle&) = delete;

  /// Puts a directory in the place of what libraries carry, wholly: what is missing there is
  /// missing. To be called before anything else is, for what was read already stays as it was. A
  /// relative path is resolved once, here.
  /// Errors: of `FileErrorDomain`, if there is no such directory; then nothing changes.
  [[nodiscard]] static std::expected<void, Error> setResourceDirectory(
      const std::filesystem::path& directory);

  /// The bytes of the file `NAME.EXTENSION`, or why they can't be read; nothing if there is no such
  /// file. A directory's files are read anew at each call.
  [[nodiscard]] std::optional<std::expected<Data, Error>> dataForResource(
      std::string_view name, std::string_view extension) const;

  /// The value of a key of `Info.plist`, the first if it stands there twice; nothing if there is no
  /// such key, or no dictionary that can be read. A directory's is read anew at each call.
  [[nodiscard]] std::optional<InfoValue> objectForInfoDictionaryKey(std::string_view key) const;

 private:
  const std::span<const Resource> carried_;
  const std::unique_ptr<const struct Tree> info_;  // what is carried can't change
};

}  // namespace PellixPlatform
