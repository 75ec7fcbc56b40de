#include "Numbers.h"
#include "PropertyListParser.h"

#include <PellixPlatform/Bundle.h>
#include <PellixPlatform/internal/File.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <system_error>
#include <utility>

namespace PellixPlatform {
namespace {

namespace fs = std::filesystem;

using Contents = std::optional<std::expected<Data, Error>>;

struct HostChoice {
  std::mutex mutex;
  std::optional<fs::path> directory;
};

HostChoice& hostChoice() {
  static auto& choice = *new HostChoice;  // leaked: requests may be made while the process ends
  return choice;
}

std::optional<fs::path> hostDirectory() {
  auto& choice = hostChoice();
  const std::lock_guard lock(choice.mutex);
  return choice.directory;
}

Contents fileIn(const fs::path& directory, std::string_view fileName) {
  auto file = readFile(directory / fileName);
  const auto code = file ? 0 : file.error().code();
  if (code == ENOENT || code == ENOTDIR) return std::nullopt;
  return file;
}

Contents fileAmong(std::span<const Bundle::Resource> carried, std::string_view fileName) {
  const auto found = std::ranges::find(carried, fileName, &Bundle::Resource::fileName);
  if (found == carried.end()) return std::nullopt;
  return Data(found->bytes);
}

/// An information dictionary, or null: one that can't be read is as good as none.
std::unique_ptr<const Tree> parseInfo(const Contents& contents) {
  if (!contents || !*contents) return nullptr;
  try {
    auto tree = std::make_unique<const Tree>(parsePropertyList(**contents));
    return tree->nodes.front().kind == Tree::Kind::object ? std::move(tree) : nullptr;
  } catch (const DecodingFailure&) {
    return nullptr;
  }
}

InfoValue infoValue(const Tree& tree, const Tree::Node& node) {
  const auto text = tree.textOf(node);
  switch (node.kind) {
    case Tree::Kind::string:
      return std::string(text);
    case Tree::Kind::boolean:
      return text == "true";
    case Tree::Kind::number:
      if (const auto integer = exactInteger(text)) return *integer;
      if (const auto real = nearestDouble(text)) return *real;
      [[fallthrough]];
    default:
      return {};
  }
}

constexpr std::string_view infoFile = "Info.plist";

}  // namespace

Bundle::Bundle(std::span<const Resource> carried)
    : carried_(carried), info_(parseInfo(fileAmong(carried, infoFile))) {}
Bundle::~Bundle() = default;

std::expected<void, Error> Bundle::setResourceDirectory(const fs::path& directory) {
  std::error_code failure;
  fs::path absolute;
  // A path is as long as it says here, but ends at its first NUL for the system.
  if (directory.native().contains('\0')) {
    failure = std::make_error_code(std::errc::invalid_argument);
  } else if (fs::is_directory(directory, failure)) {
    absolute = fs::absolute(directory, failure);
  } else if (!failure) {
    failure =
        std::make_error_code(fs::exists(directory, failure) ? std::errc::not_a_directory
                                                            : std::errc::no_such_file_or_directory);
  }
  if (failure) {
    return std::unexpected(Error::described(
        FileErrorDomain, failure.value(),
        "The directory \"" + directory.string() + "\" can't be used: " + failure.message() + "."));
  }
  auto& choice = hostChoice();
  const std::lock_guard lock(choice.mutex);
  choice.directory = std::move(absolute);
  return {};
}

Contents Bundle::dataForResource(std::string_view name, std::string_view extension) const {
  const auto fileName = std::string(name) + "." + std::string(extension);
  const auto directory = hostDirectory();
  return directory ? fileIn(*directory, fileName) : fileAmong(carried_, fileName);
}

std::optional<InfoValue> Bundle::objectForInfoDictionaryKey(std::string_view key) const {
  const auto directory = hostDirectory();
  const auto fresh = directory ? parseInfo(fileIn(*directory, infoFile)) : nullptr;
  const auto* const info = directory ? fresh.get() : info_.get();
  const auto value = info ? info->member(0, key) : Tree::none;
  if (value == Tree::none) return std::nullopt;
  return infoValue(*info, info->nodes[value]);
}

}  // namespace PellixPlatform
