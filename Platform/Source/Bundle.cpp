#include "ResourceDirectory.h"
#include "Tree.h"

#include <PellixPlatform/Bundle.h>
#include <PellixPlatform/File.h>

#include <dlfcn.h>

#include <charconv>
#include <cstdint>
#include <fstream>
#include <mutex>
#include <system_error>
#include <utility>

namespace PellixPlatform {
namespace {

namespace fs = std::filesystem;

// From the directory of a program or library (bin, lib or lib/ARCHITECTURE) to the resources.
constexpr std::string_view installedLayouts[] = {"../share/PellixProvidersSDK",
                                                 "../../share/PellixProvidersSDK"};

// The tree that this was built from, unless that was switched off: a package must not look there.
#ifdef PLATFORM_SOURCE_RESOURCES
constexpr const char* sourceResources = PLATFORM_SOURCE_RESOURCES;
#else
constexpr const char* sourceResources = "";
#endif

/// The file that holds the code or data at `address`. The dynamic linker knows only where the image
/// begins, for the name that it has may be relative to a working directory of the past. The
/// kernel's name never is, but the kernel knows none for data that starts out as zero.
fs::path imageContaining(const void* address) {
  Dl_info image;
  if (dladdr(address, &image) == 0) return {};
  const auto wanted = reinterpret_cast<std::uintptr_t>(image.dli_fbase);
  std::ifstream maps("/proc/self/maps");
  maps.exceptions(std::ios::badbit);  // else it would seem to end where memory does
  for (std::string line; std::getline(maps, line);) {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    const char* last = line.data() + line.size();
    const auto dash = std::from_chars(line.data(), last, begin, 16).ptr;
    if (dash == last || std::from_chars(dash + 1, last, end, 16).ec != std::errc{}) continue;
    if (wanted < begin || end <= wanted) continue;
    const auto path = line.find('/');
    return path == line.npos ? fs::path() : fs::path(line.substr(path));
  }
  return {};
}

fs::path resourceDirectory(const fs::path& image) {
  std::error_code ignored;
  for (const auto layout : installedLayouts) {
    auto directory = image.parent_path() / layout;
    if (!image.empty() && fs::is_directory(directory, ignored)) {
      return directory.lexically_normal();
    }
  }
  for (const auto directory : {pellixHostResources(), sourceResources}) {
    if (fs::is_directory(directory, ignored)) return directory;
  }
  return PLATFORM_INSTALLED_RESOURCES;
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
      return {};
    default:
      return {};
  }
}

struct Known {
  std::mutex mutex;
  std::optional<fs::path> hostDirectory;
  std::map<fs::path, const Bundle> bundles;        // by directory
  std::map<const void*, const Bundle*> byAddress;  // asked for at every request
};

Known& known() {
  static auto& known = *new Known;  // leaked: requests may be made while the process ends
  return known;
}

}  // namespace

Bundle::Bundle(fs::path directory) : directory_(std::move(directory)) {
  const auto file = readFile(directory_ / "Info.plist");
  if (!file) return;
  try {
    const Tree tree = parsePropertyList(*file);
    if (tree.nodes.front().kind != Tree::Kind::object) return;
    for (std::uint32_t key = 1; key < tree.nodes.front().next;) {
      const auto& value = tree.nodes[key + 1];
      info_.try_emplace(std::string(tree.textOf(tree.nodes[key])), infoValue(tree, value));
      key = value.next;
    }
  } catch (const DecodingFailure&) {
    info_.clear();  // a dictionary that can't be read is as good as none
  }
}

const Bundle& Bundle::containing(const void* address) {
  auto& found = known();
  const std::lock_guard lock(found.mutex);
  auto& bundle = found.byAddress[address];
  if (!bundle) {
    const auto directory =
        found.hostDirectory ? *found.hostDirectory : resourceDirectory(imageContaining(address));
    auto entry = found.bundles.find(directory);
    if (entry == found.bundles.end()) {
      entry = found.bundles.emplace(directory, Bundle(directory)).first;
    }
    bundle = &entry->second;
  }
  return *bundle;
}

void Bundle::setResourceDirectory(const fs::path& directory) {
  auto& found = known();
  const std::lock_guard lock(found.mutex);
  found.hostDirectory = fs::absolute(directory);
  found.byAddress.clear();
}

std::optional<fs::path> Bundle::pathForResource(std::string_view name,
                                                std::string_view extension) const {
  auto path = directory_ / (std::string(name) + "." + std::string(extension));
  std::error_code ignored;
  if (!fs::exists(path, ignored)) return std::nullopt;
  return path;
}

std::optional<InfoValue> Bundle::objectForInfoDictionaryKey(std::string_view key) const {
  const auto entry = info_.find(key);
  if (entry == info_.end()) return std::nullopt;
  // Not copied as a whole, for the reason that an error's user info is not.
  return std::visit([](const auto& value) { return InfoValue(value); }, entry->second);
}

}  // namespace PellixPlatform
