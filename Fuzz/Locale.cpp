// Preferred languages out of the environment, and the locale that a query searches in.
// The input is LANGUAGE, LC_ALL, LC_MESSAGES and LANG, each up to a NUL, then the knowledge base's
// settings, then the host's choice, if there is one.

#include "JSON.h"
#include "Resources/LocaleProvider.h"

#include <PellixPlatform/Locale.h>
#include <QuorvelCoreSDK/CoreLogger.h>
#include <VeltraneProvidersSDK/internal/ServicePaths.h>

#include <QuorvelCoreSDKTesting/ScriptedTransport.h>

#include <regex>

namespace {

using Languages = std::vector<std::string>;

Languages languagesOf(Fuzz::Input& input) {
  constexpr const char* names[] = {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"};
  for (const char* name : names) setenv(name, input.text().c_str(), 1);
  const auto languages = PellixPlatform::Locale::preferredLanguages();
  static const std::regex tag(
      "[A-Za-z]{2,3}(-[A-Za-z]{4})?(-([A-Za-z]{2}|[0-9]{3}))?"
      "(-([A-Za-z0-9]{5,8}|[0-9][A-Za-z0-9]{3}))*");
  for (const auto& language : languages) {
    // Long ones are beyond regular expressions, which go deep.
    constexpr std::size_t longest = 512;
    Fuzz::require(language.size() > longest || std::regex_match(language, tag),
                  "a preferred language is a tag");
    Fuzz::require(std::ranges::count(languages, language) == 1, "a preferred language stands once");
  }
  const std::string list = std::getenv("LANGUAGE");
  setenv("LANGUAGE", (list + ":" + list).c_str(), 1);
  Fuzz::require(PellixPlatform::Locale::preferredLanguages() == languages,
                "repeats change nothing");
  return languages;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Fuzz::Input input(Fuzz::textOf(data, size));
  const auto languages = languagesOf(input);
  const auto document = input.text();
  const auto opinion = Fuzz::opinionOn(document);
  if (!opinion.isKnown) return 0;
  std::optional<std::string> choice;
  if (!input.isEmpty()) choice = input.text();

  QuorvelCoreSDK::CoreLogger::setSink([](auto, auto) {});
  const auto transport = std::make_shared<QuorvelCoreSDK::Testing::ScriptedTransport>();
  transport->answer(std::string(VeltraneProvidersSDK::ServicePaths::knowledgeSettings), 200,
                    document);
  const auto veltrane = VeltraneProvidersSDK::Veltrane::initialize(
      QuorvelCoreSDK::Quorvel::initialize({"https://acme.example", "application", "client"},
                                          {.transport = transport})
          .value());
  veltrane->setLumenoLocaleOverride(choice);

  std::string expected = languages.empty() ? "" : languages.front();
  const auto* locale = Fuzz::member(opinion.document ? &*opinion.document : nullptr, "locale");
  if (locale && locale->is_string()) expected = *locale;
  if (choice) expected = *choice;

  Languages obtained;
  PellixProvidersSDK::LocaleProvider(veltrane).getLocale(
      [&](std::string found) { obtained.push_back(std::move(found)); });
  Fuzz::require(obtained.size() == (choice ? 1 : 0), "only a choice is known within the call");
  transport->run();
  Fuzz::require(obtained == Languages{expected}, "the locale is the first to be had");
  return 0;
}
