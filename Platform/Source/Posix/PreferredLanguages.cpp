#include "LanguageTag.h"
#include "System.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace PellixPlatform {
namespace {

std::string_view environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

// The list in LANGUAGE, then the first of the others that is set, as gettext has it.
std::vector<std::string> System::preferredLanguages() {
  std::vector<std::string> languages;
  const auto add = [&](std::string_view localeName) {
    std::string tag = languageTag(localeName);
    if (!tag.empty() && std::ranges::find(languages, tag) == languages.end()) {
      languages.push_back(std::move(tag));
    }
  };

  for (auto rest = environment("LANGUAGE"); !rest.empty();) {
    const auto end = std::min(rest.find(':'), rest.size());
    add(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (const auto value = environment(name); !value.empty()) {
      add(value);
      break;
    }
  }
  return languages;
}

}  // namespace PellixPlatform
