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
      {R"({"pellix":{"enabled":true}})", "enabled"},
      {R"({"pellix":{"enabled":false}})", "disabled"},
      {R"({"pellix":{"enabled":true,"other":1},"x":2})", "enabled"},
      {R"({"enabled":false,"pellix":{"pellix":{"enabled":false},"enabled":true}})", "enabled"},
      {R"({"enabled":true})", "1 pellix"},
      {R"({"Pellix":{"enabled":true}})", "1 pellix"},
      {R"({"pellix":{}})", "1 pellix.enabled"},
      {R"({"pellix":{"Enabled":true}})", "1 pellix.enabled"},
      {R"({"pellix":null})", "2 pellix"},
      {R"({"pellix":{"enabled":null}})", "2 pellix.enabled"},
      {R"({"pellix":true})", "3 pellix"},
      {R"({"pellix":[]})", "3 pellix"},
      {R"({"pellix":{"enabled":"true"}})", "3 pellix.enabled"},
      {R"({"pellix":{"enabled":1}})", "3 pellix.enabled"},
      {"[]", "3 "},
      {"", "5 "},
  };
  for (const auto& [document, expected] : cases) {
    const auto settings = PellixPlatform::JSONDecoder().decode<PellixSettings>(document);
    std::string text;
    if (settings) {
      text = (*settings)->enabled() ? "enabled" : "disabled";
    } else {
      const auto& info = settings.error().userInfo();
      const auto path = info.find("codingPath");
      text = std::to_string(settings.error().code()) + " " +
             (path == info.end() ? "" : std::get<std::string>(path->second));
    }
    EXPECT_EQ(text, expected) << document;
  }
}

TEST(Settings, AreDisabledByDefault) {
  EXPECT_FALSE(PellixSettings().enabled());
  const auto first = PellixSettings::default_();
  const auto second = PellixSettings::default_();
  EXPECT_FALSE(first->enabled());
  EXPECT_NE(first, second);
  EXPECT_FALSE(first->isEqual(second.get()));
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
    PellixSettingsProvider::getSettings([&](const std::shared_ptr<const PellixSettings>& settings) {
      answer = settings->enabled();
    });
    EXPECT_EQ(answer, std::nullopt);  // never before the document is there
    host.transport->run();
    EXPECT_EQ(answer, expected) << document;
  }
}

TEST(SettingsProvider, AddsNothingToWhatTheServiceDoes) {
  const auto service = std::make_shared<OwnSettings>(enabled);
  const Host host(service);
  for (std::size_t count = 1; count <= 2; ++count) {
    std::shared_ptr<const PellixSettings> answer;
    PellixSettingsProvider::getSettings([&](auto settings) { answer = settings; });
    ASSERT_NE(answer, nullptr);  // within the call, for so this service answers
    EXPECT_TRUE(answer->enabled());
    EXPECT_EQ(service->asked, count);
  }
  PellixSettingsProvider::getSettings(nullptr);
  EXPECT_EQ(service->asked, 3U);

  const Host other(std::make_shared<OwnSettings>());
  std::optional<bool> isNull;
  PellixSettingsProvider::getSettings([&](const auto& settings) { isNull = settings == nullptr; });
  EXPECT_EQ(isNull, true);
}

TEST(SettingsProvider, LetsGoOfItsCallbackOnceItHasRun) {
  const auto service = std::make_shared<OwnSettings>(enabled);
  service->keepsContinuations = true;
  service->answers = 2;
  const Host host(service);
  auto held = std::make_shared<int>(0);
  const std::weak_ptr<int> watch = held;
  bool isReleased = false;
  service->afterAnswer = [&] { isReleased = watch.expired(); };
  PellixSettingsProvider::getSettings(
      [held = std::move(held)](const auto&) { EXPECT_EQ(++*held, 1); });
  EXPECT_TRUE(isReleased);
}

}  // namespace
}  // namespace PellixTests
