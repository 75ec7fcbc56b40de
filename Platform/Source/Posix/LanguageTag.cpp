#include "LanguageTag.h"

#include "ASCII.h"

#include <algorithm>

namespace PellixPlatform {
namespace {

struct Modifier {
  std::string_view name;
  std::string_view script;
  std::string_view variant;
};

// Those of the C library's locales (glibc's localedata/SUPPORTED) that BCP 47 has a subtag for:
// scripts by their ISO 15924 codes, of which İQTElif is an alphabet of the Latin one; and the one
// variant in the IANA registry. The others tell of currency (euro), collation (abegede) or a
// language of its own (saaho), and are left out.
constexpr Modifier modifiers[] = {
    {"latin", "Latn", ""},   {"cyrillic", "Cyrl", ""},     {"devanagari", "Deva", ""},
    {"iqtelif", "Latn", ""}, {"valencia", "", "valencia"},
};

bool isLetter(char c) {
  return ASCII::isLowerCase(c) || ASCII::isUpperCase(c);
}

bool areLetters(std::string_view subtag) {
  return std::ranges::all_of(subtag, isLetter);
}

// The kinds of subtags in RFC 5646, section 2.1, in their order. No language in use has a primary
// subtag of another length, while the aliases of locales have.
bool isLanguage(std::string_view subtag) {
  return (subtag.size() == 2 || subtag.size() == 3) && areLetters(subtag);
}

bool isScript(std::string_view subtag) {
  return subtag.size() == 4 && areLetters(subtag);
}

bool isRegion(std::string_view subtag) {
  return (subtag.size() == 2 && areLetters(subtag)) ||
         (subtag.size() == 3 && std::ranges::all_of(subtag, ASCII::isDigit));
}

bool isVariant(std::string_view subtag) {
  const bool hasLength = 4 <= subtag.size() && subtag.size() <= 8 &&
                         (subtag.size() > 4 || ASCII::isDigit(subtag.front()));
  return hasLength &&
         std::ranges::all_of(subtag, [](char c) { return isLetter(c) || ASCII::isDigit(c); });
}

/// A text's parts between separators, from its front.
class Parts {
 public:
  explicit Parts(std::string_view text) : rest_(text) {}

  [[nodiscard]] bool isAtEnd() const { return isAtEnd_; }

  /// The next part, if it is of a kind; else empty.
  std::string_view takeIf(bool (*isOfKind)(std::string_view)) {
    const auto end = rest_.find_first_of("_-");
    const auto part = rest_.substr(0, end);
    if (isAtEnd_ || !isOfKind(part)) return {};
    isAtEnd_ = end == rest_.npos;
    rest_.remove_prefix(isAtEnd_ ? rest_.size() : end + 1);
    return part;
  }

 private:
  std::string_view rest_;
  bool isAtEnd_ = false;
};

}  // namespace

std::string languageTag(std::string_view localeName) {
  Parts parts(localeName.substr(0, localeName.find_first_of(".@")));
  const auto at = localeName.find('@');
  const auto* const modifier = std::ranges::find(
      modifiers, at == localeName.npos ? "" : localeName.substr(at + 1), &Modifier::name);
  const Modifier found = modifier == std::end(modifiers) ? Modifier{} : *modifier;

  std::string tag(parts.takeIf(isLanguage));
  if (tag.empty()) return {};
  const auto add = [&tag](std::string_view subtag) {
    if (!subtag.empty()) (tag += '-') += subtag;
  };
  const auto script = parts.takeIf(isScript);
  add(script.empty() ? found.script : script);
  add(parts.takeIf(isRegion));
  for (auto variant = parts.takeIf(isVariant); !variant.empty();
       variant = parts.takeIf(isVariant)) {
    add(variant);
  }
  add(found.variant);
  return parts.isAtEnd() ? tag : std::string();
}

}  // namespace PellixPlatform
