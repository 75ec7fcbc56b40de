#include "PellixProvidersSDK/Host.h"

#include <PellixPlatform/Locale.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace PellixTests {
namespace {

std::string sentLocale(const Host& host) {
  const auto sent = host.transport->requests(queryPath);
  if (sent.empty()) return "nothing was sent";
  return nlohmann::json::parse(sent.back().body.value()).at("locale");
}

TEST(LocaleOfAQuery, IsTheFirstToBeHad) {
  using Languages = std::vector<std::string>;
  const struct {
    const char* what;
    std::optional<std::string> lumenoLocaleOverride;
    int status;
    std::string document;
    Languages preferred;
    std::string expected;
  } cases[] = {
      {"override", "fr", 200, R"({"locale":"de"})", {"pt-BR"}, "fr"},
      {"override as it is", " DE_x ", 200, R"({"locale":"de"})", {"pt-BR"}, " DE_x "},
      {"empty override", "", 200, R"({"locale":"de"})", {"pt-BR"}, ""},
      {"settings", {}, 200, R"({"locale":"en-us"})", {"pt-BR"}, "en-us"},
      {"settings as they are", {}, 200, R"({"locale":"DE"})", {"pt-BR"}, "DE"},
      {"empty settings", {}, 200, R"({"locale":""})", {"pt-BR"}, ""},
      {"no settings", {}, 404, "", {"pt-BR", "en"}, "pt-BR"},
      {"settings of another shape", {}, 200, R"({"locale":null})", {"EN_us", "de"}, "EN_us"},
      {"no settings and no languages", {}, 404, "", {}, ""},
  };
  for (const auto& each : cases) {
    const Host host;
    host.veltrane->setLumenoLocaleOverride(each.lumenoLocaleOverride);
    host.transport->answer(std::string(knowledgeSettings), each.status, each.document);
    PellixPlatform::Locale::setPreferredLanguages(each.preferred);
    EXPECT_EQ(host.outcomeOf(), "response 7") << each.what;
    EXPECT_EQ(sentLocale(host), each.expected) << each.what;
    EXPECT_EQ(host.transport->requests(knowledgeSettings).size(),
              each.lumenoLocaleOverride ? 0U : 1U)
        << each.what;
  }
  PellixPlatform::Locale::setPreferredLanguages(std::nullopt);
}

TEST(LocaleOfAQuery, IsChosenAfreshEachTime) {
  const Host host;
  for (const std::optional<std::string>& locale : {std::optional<std::string>("fr"), {}, {"ja"}}) {
    host.veltrane->setLumenoLocaleOverride(locale);
    EXPECT_EQ(host.outcomeOf(), "response 7");
    EXPECT_EQ(sentLocale(host), locale.value_or("de"));
  }
}

TEST(LocaleOfAQuery, IsKnownWithinTheCallIfThereIsAnOverride) {
  const Host host(std::make_shared<OwnSettings>(enabled));
  host.veltrane->setLumenoLocaleOverride("fr");
  Outcome outcome;
  host.ask(outcome);
  EXPECT_EQ(sentLocale(host), "fr");
  Support::settle(*host.transport);
}

TEST(LocaleOfAQuery, GoesByTheSharedInstance) {
  const Host host;
  host.veltrane->setLumenoLocaleOverride("fr");
  const auto later = Veltrane::initialize(host.quorvel);
  later->setLumenoLocaleOverride("ja");
  EXPECT_EQ(host.outcomeOf(), "response 7");
  EXPECT_EQ(sentLocale(host), "ja");
}

}  // namespace
}  // namespace PellixTests
