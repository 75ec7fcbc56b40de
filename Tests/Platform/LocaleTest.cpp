#include <PellixPlatform/Locale.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace PlatformTests {
namespace {

using Tags = std::vector<std::string>;

void setEnvironment(const char* name, const char* value) {
  value ? ::setenv(name, value, 1) : ::unsetenv(name);
}

TEST(Locale, TakesThePreferredLanguagesFromTheEnvironment) {
  const struct {
    const char* language;
    const char* all;
    const char* messages;
    const char* lang;
    Tags expected;
  } cases[] = {
      {nullptr, nullptr, nullptr, nullptr, {}},
      {nullptr, nullptr, nullptr, "en_GB.UTF-8", {"en-GB"}},
      {nullptr, nullptr, "de_AT", "en_GB.UTF-8", {"de-AT"}},
      {nullptr, "fr", "de_AT", "en_GB.UTF-8", {"fr"}},
      {nullptr, "", "", "nl_NL@euro", {"nl-NL"}},
      {nullptr, "C", nullptr, "en_GB.UTF-8", {}},
      {nullptr, nullptr, "POSIX", "en_GB", {}},
      {nullptr, nullptr, nullptr, "C.UTF-8", {}},
      {"de_CH:de:en", nullptr, nullptr, "fr_CH.UTF-8", {"de-CH", "de", "en", "fr-CH"}},
      {"de:en:de", nullptr, nullptr, "en", {"de", "en"}},
      {":de::", nullptr, nullptr, nullptr, {"de"}},
      {"", nullptr, nullptr, "pt_BR", {"pt-BR"}},
      {nullptr, nullptr, nullptr, "sr_RS.UTF-8@latin", {"sr-Latn-RS"}},
      {"sr@latin", nullptr, nullptr, nullptr, {"sr-Latn"}},
      {nullptr, nullptr, nullptr, "zh_Hant_TW", {"zh-Hant-TW"}},
      {"../x:a b:en\r\nX:_:en_:waytoolong:es_419", nullptr, nullptr, nullptr, {"es-419"}},
  };
  for (const auto& [language, all, messages, lang, expected] : cases) {
    setEnvironment("LANGUAGE", language);
    setEnvironment("LC_ALL", all);
    setEnvironment("LC_MESSAGES", messages);
    setEnvironment("LANG", lang);
    EXPECT_EQ(PellixPlatform::Locale::preferredLanguages(), expected)
        << testing::PrintToString(expected);
  }
}

TEST(Locale, PrefersTheHostsChoice) {
  setEnvironment("LANGUAGE", "de");
  setEnvironment("LC_ALL", "de");
  PellixPlatform::Locale::setPreferredLanguages(Tags{"ja", "en-US"});
  EXPECT_EQ(PellixPlatform::Locale::preferredLanguages(), (Tags{"ja", "en-US"}));
  PellixPlatform::Locale::setPreferredLanguages(Tags{});
  EXPECT_EQ(PellixPlatform::Locale::preferredLanguages(), Tags{});
  PellixPlatform::Locale::setPreferredLanguages(std::nullopt);
  EXPECT_EQ(PellixPlatform::Locale::preferredLanguages(), Tags{"de"});
}

}  // namespace
}  // namespace PlatformTests
