#include <PellixPlatform/Locale.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <string_view>
#include <utility>

namespace PellixPlatform::Locale {
namespace {

struct HostChoice {
  std::mutex mutex;
  std::optional<std::vector<std::string>> languages;
};

HostChoice& hostChoice() {
  static auto& choice = *new HostChoice;  // leaked: may be asked while the process ends
  return choice;
}

bool isAlphanumeric(char c) {
  return ('0' <= c && c <= '9') || ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z');
}

/// Whether `tag` has the outward form of RFC 5646: subtags of 1 to 8 letters and digits.
bool isTag(std::string_view tag) {
  std::size_t length = 0;
  for (const char c : tag) {
    if (c == '-') {
      if (length == 0) return false;
      length = 0;
    } else if (!isAlphanumeric(c) || ++length > 8) {
      return false;
    }
  }
  return length > 0;
}

/// The tag for a POSIX locale name, `language[_REGION][.encoding][@modifier]`; empty if there is
/// none.
std::string languageTag(std::string_view locale) {
  const auto modifier = locale.find('@');
  const bool isLatin = modifier != locale.npos && locale.substr(modifier) == "@latin";
  std::string tag(locale.substr(0, locale.find_first_of(".@")));
  if (tag == "C" || tag == "POSIX") return {};
  std::ranges::replace(tag, '_', '-');
  if (isLatin) tag.insert(std::min(tag.find('-'), tag.size()), "-Latn");
  return isTag(tag) ? tag : std::string();
}

std::string_view environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

std::vector<std::string> preferredLanguages() {
  {
    auto& choice = hostChoice();
    const std::lock_guard lock(choice.mutex);
    if (choice.languages) return *choice.languages;
  }
  std::vector<std::string> languages;
  const auto add = [&](std::string_view locale) {
    std::string tag = languageTag(locale);
    if (!tag.empty() && std::ranges::find(languages, tag) == languages.end())
      languages.push_back(std::move(tag));
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

void setPreferredLanguages(std::optional<std::vector<std::string>> languages) {
  auto& choice = hostChoice();
  const std::lock_guard lock(choice.mutex);
  choice.languages = std::move(languages);
}

}  // namespace PellixPlatform::Locale
