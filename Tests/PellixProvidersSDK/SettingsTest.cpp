#include "PellixProvidersSDK/Host.h"
#include "Support/Rows.h"

#include <PellixPlatform/JSONDecoder.h>

#include <gtest/gtest.h>

namespace PellixTests {
namespace {

using PellixProvidersSDK::PellixSettings;
using PellixProvidersSDK::PellixSettingsProvider;

TEST(Settings, AreReadFromTheirPlaceInTheDocument) {
  for (const auto& row : Support::rowsOf("PellixProvidersSDK/Data/Settings.txt")) {
    const auto settings = PellixPlatform::JSONDecoder().decode<PellixSettings>(row[0]);
    const auto whether = settings && (*settings)->enabled() ? "enabled" : "disabled";
    EXPECT_EQ(settings ? whether : textOf(settings.error()), row[1]) << row[0];
  }
  EXPECT_FALSE(PellixSettings().enabled());
  EXPECT_FALSE(PellixSettings::default_()->enabled());
}

TEST(SettingsProvider, AnswersWithTheAccountsSettingsOrTheDefault) {
  const std::tuple<int, const char*, bool> cases[] = {
      {200, enabled, true}, {200, disabled, false}, {200, "{}", false}, {404, enabled, false}};
  for (const auto& [status, document, expected] : cases) {
    const Host host;
    host.transport->answer(std::string(accountSettings), status, document);
    std::optional<bool> answer;
    PellixSettingsProvider::getSettings(
        [&](const auto& settings) { answer = settings->enabled(); });
    EXPECT_EQ(answer, std::nullopt);  // never before the document is there
    host.transport->run();
    EXPECT_EQ(answer, expected) << document;
  }
}

TEST(SettingsProvider, AddsNothingToWhatTheServiceDoesAndLetsGoOfItsCallback) {
  for (const char* document : {enabled, static_cast<const char*>(nullptr)}) {
    const auto service = std::make_shared<OwnSettings>(document);
    service->isAtFault = true;
    const Host host(service);
    std::string heard;
    std::string atTheEnd;
    service->afterAnswer = [&] { atTheEnd = heard; };  // within the call, for so this one answers
    const auto letGo = [&](void*) { heard += "."; };
    PellixSettingsProvider::getSettings(
        [&, held = std::shared_ptr<void>(nullptr, letGo)](const auto& settings) {
          heard += settings ? "settings" : "none";
        });
    EXPECT_EQ(atTheEnd, document ? "settings." : "none.");
    PellixSettingsProvider::getSettings(nullptr);
    EXPECT_EQ(service->asked, 2U);
  }
}

}  // namespace
}  // namespace PellixTests
