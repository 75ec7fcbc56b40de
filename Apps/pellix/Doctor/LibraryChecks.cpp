#include "Doctor/Checks.h"

#include <curl/curl.h>
#include <dlfcn.h>
#include <expat.h>
#include <fmt/core.h>
#include <link.h>
#include <utf8proc.h>

#include <algorithm>
#include <filesystem>
#include <gnu/libc-version.h>
#include <memory>
#include <system_error>

namespace PellixApp {
namespace {

using Path = std::filesystem::path;

bool isLibrary(const Path& file) {
  return file.filename().native().starts_with("libPellixProvidersSDK.so");
}

/// The files of it that the process has loaded, as they were looked for.
std::vector<Path> loadedCopies() {
  std::vector<Path> loaded;
  const auto take = [](dl_phdr_info* object, std::size_t, void* copies) {
    const Path file(object->dlpi_name);
    if (isLibrary(file)) static_cast<std::vector<Path>*>(copies)->push_back(file);
    return 0;
  };
  dl_iterate_phdr(take, &loaded);
  return loaded;
}

/// Where the dynamic linker looks for libraries on behalf of this program.
std::vector<Path> searchedDirectories() {
  const std::unique_ptr<void, int (*)(void*)> self(dlopen(nullptr, RTLD_LAZY), dlclose);
  Dl_serinfo size{};
  dlinfo(self.get(), RTLD_DI_SERINFOSIZE, &size);
  const auto buffer = std::make_unique<std::byte[]>(size.dls_size);
  auto* const found = new (buffer.get()) Dl_serinfo(size);
  dlinfo(self.get(), RTLD_DI_SERINFO, found);
  std::vector<Path> directories;
  directories.reserve(found->dls_cnt + 1);
  const auto* const paths = found->dls_serpath;
  for (unsigned at = 0; at < found->dls_cnt; ++at) directories.emplace_back(paths[at].dls_name);
  directories.emplace_back("/usr/local/lib");  // by configuration, on most systems
  return directories;
}

/// The files of it there, without links, that are none of `known`.
std::vector<Path> furtherCopies(std::vector<Path> known) {
  const auto loaded = static_cast<std::ptrdiff_t>(known.size());
  std::error_code error;
  for (const auto& directory : searchedDirectories()) {
    for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
      if (!isLibrary(entry.path())) continue;
      const auto file = canonical(entry.path(), error);
      const bool isKnown = error || std::ranges::any_of(known, [&](const Path& each) {
                             return equivalent(each, file, error);
                           });
      if (!isKnown) known.push_back(file);
    }
  }
  known.erase(known.begin(), known.begin() + loaded);
  return known;
}

std::string joined(const std::vector<Path>& files) {
  std::string text;
  for (const auto& file : files) text += (text.empty() ? "" : ", ") + file.native();
  return text;
}

}  // namespace

Finding checkLibraryCopies(Examination&) {
  auto loaded = loadedCopies();
  const auto further = furtherCopies(loaded);
  if (!PELLIX_IS_SHARED) loaded.insert(loaded.begin(), "pellix itself");
  if (loaded.size() > 1) {
    return problem("The process holds several: " + joined(loaded),
                   "See that LD_PRELOAD names none of them: each is a library of its own.");
  }
  return ok("in " + joined(loaded) + (further.empty() ? "" : "; not used: " + joined(further)));
}

Finding checkDependencies(Examination&) {
  const auto& curl = *curl_version_info(CURLVERSION_NOW);
  const auto expat = XML_ExpatVersionInfo();
  const auto textOf = [](const char* text) { return text ? text : "none"; };
  return ok(fmt::format(
      "libcurl {} with {} and nghttp2 {}, expat {}.{}.{}, utf8proc {}, glibc {}; built with {}",
      curl.version, textOf(curl.ssl_version), textOf(curl.nghttp2_version), expat.major,
      expat.minor, expat.micro, utf8proc_version(), gnu_get_libc_version(), PELLIX_BUILT_WITH));
}

}  // namespace PellixApp
