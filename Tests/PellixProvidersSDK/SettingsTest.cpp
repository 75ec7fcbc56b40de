#include "PellixProvidersSDK/Host.h"

#include <PellixPlatform/JSONDecoder.h>

#include <gtest/gtest.h>

namespace PellixTests {
namespace {

using PellixProvidersSDK::PellixSettings;
using PellixProvidersSDK::PellixSettingsProvider;

TEST(Settings, AreReadFromTheirPlaceInTheDocument) {
  const struct {
    const char* document;
    std::string expected;
  } cases[] = {
      {enabled, "enabled"},
      {disabled, "disabled"},
      {R"({"enabled":false,"pellix":{"pellix":{"enabled":false},"enabled":true}})", "enabled"},
      {R"({"enabled":true})", "Platform.DecodingError 1 pellix"},
      {R"({"Pellix":{"enabled":true}})", "Platform.DecodingError 1 pellix"},
      {R"({"pellix":{"Enabled":true}})", "Platform.DecodingError 1 pellix.enabled"},
      {R"({"pellix":null})", "Platform.DecodingError 2 pellix"},
      {R"({"pellix":{"enabled":null}})", "Platform.DecodingError 2 pellix.enabled"},
      {R"({"pellix":[]})", "Platform.DecodingError 3 pellix"},
      {R"({"pellix":{"enabled":"true"}})", "Platform.DecodingError 3 pellix.enabled"},
      {R"({"pellix":{"enabled":1}})", "Platform.DecodingError 3 pellix.enabled"},
  };
  for (const auto& [document, expected] : cases) {
    const auto settings = PellixPlatform::JSONDecoder().decode<PellixSettings>(document);
    const std::string text = !settings                ? textOf(settings.error())
                             : (*settings)->enabled() ? "enabled"
                                                      : "disabled";
    EXPECT_EQ(text, expected) << document;
  }
  EXPECT_FALSE(PellixSettings().enabled());
  EXPECT_FALSE(PellixSettings::default_()->enabled());
  EXPECT_NE(PellixSettings::default_(), PellixSettings::default_());
}

TEST(SettingsProvider, AnswersWithTheAccountsSettingsOrTheDefault) {
  const struct {
    int status;
    const char* document;
    bool expected;
  } cases[] = {
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
    service->keepsContinuations = true;
    service->answers = 2;
    const Host host(service);
    auto calls = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = calls;
    bool isReleased = false;
    service->afterAnswer = [&] { isReleased = watch.expired(); };
    PellixSettingsProvider::getSettings([&, calls = std::move(calls)](const auto& settings) {
      EXPECT_EQ(++*calls, 1);
      EXPECT_EQ(settings == nullptr, document == nullptr);
    });
    EXPECT_TRUE(isReleased);  // within the call, for so this service answers
    PellixSettingsProvider::getSettings(nullptr);
    EXPECT_EQ(service->asked, 2U);
  }
}

}  // namespace
}  // namespace PellixTests
