#include "System.h"

#include <PellixPlatform/Locale.h>

#include <mutex>
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

}  // namespace

std::vector<std::string> preferredLanguages() {
  {
    auto& choice = hostChoice();
    const std::lock_guard lock(choice.mutex);
    if (choice.languages) return *choice.languages;
  }
  return System::preferredLanguages();
}

void setPreferredLanguages(std::optional<std::vector<std::string>> languages) {
  auto& choice = hostChoice();
  const std::lock_guard lock(choice.mutex);
  choice.languages = std::move(languages);
}

}  // namespace PellixPlatform::Locale
