#include <PellixPlatform/Locale.h>
#include <PellixPlatform/internal/Bridge/Memory.h>
#include <PellixPlatform/internal/Bridge/Text.h>

#include <optional>
#include <utility>
#include <vector>

using namespace PellixPlatform::Bridge;

bool QVLLocale_setPreferredLanguages(const char* const* languages, size_t count) {
  const char* const function = __func__;
  return withMemory([&] {
    std::optional<std::vector<std::string>> chosen;
    if (languages) {
      chosen.emplace();
      for (size_t i = 0; i < count; ++i) {
        chosen->emplace_back(textOf(languages[i], QVL_UNTIL_NUL, function));
      }
    }
    PellixPlatform::Locale::setPreferredLanguages(std::move(chosen));
  });
}
