#include "PellixProvidersSDK/Host.h"
#include "Providers/PellixProviderDependencies.h"
#include "QuorvelCoreSDK/Source/SharedInstance.h"
#include "VeltraneProvidersSDK/Source/SharedInstance.h"

#include <PellixPlatform/Locale.h>

#include <gmock/gmock.h>

namespace PellixTests {
namespace {

using PellixProvidersSDK::LocaleProvider;
using PellixProvidersSDK::PellixSettings;
using PellixProvidersSDK::PellixSettingsProvider;
using testing::ElementsAre;

TEST(WithoutACoreInstance, AQueryEndsSilentlyAtTheSettings) {
  Host host;
  QuorvelCoreSDK::setSharedInstance(nullptr);
  EXPECT_EQ(host.outcomeOf(), "silence");
  EXPECT_THAT(host.requestedPaths(), ElementsAre(knowledgeSettings));
  EXPECT_THAT(host.newLines(), ElementsAre("debug: UUID for deflection: " + host.UUID));
}

TEST(WithoutACoreInstance, TheSettingsProviderKeepsSilent) {
  QuorvelCoreSDK::setSharedInstance(nullptr);
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> watch = held;
  PellixSettingsProvider::getSettings([held = std::move(held)](const auto&) { FAIL(); });
  EXPECT_TRUE(watch.expired());
}

TEST(WithoutAKnowledgeBaseInstance, AQueryGoesByThePreferredLanguages) {
  const Host host;
  host.veltrane->setLumenoLocaleOverride("fr");
  VeltraneProvidersSDK::setSharedInstance(nullptr);
  PellixPlatform::Locale::setPreferredLanguages({{"pt-BR", "en"}});
  EXPECT_EQ(host.outcomeOf(), "response 7");
  EXPECT_THAT(host.transport->requests(queryPath).at(0).body.value(),
              testing::HasSubstr(R"("locale":"pt-BR")"));
  PellixPlatform::Locale::setPreferredLanguages(std::nullopt);
}

TEST(WithoutACoreInstanceOfItsOwn, AProviderEndsAQuerySilentlyUnlessTheFeatureIsDisabled) {
  const std::pair<const char*, std::string> cases[] = {{enabled, "silence"},
                                                       {disabled, "QV_Pellix_Disabled 1006"}};
  for (const auto& [settings, expected] : cases) {
    Host host;
    host.transport->answer(std::string(accountSettings), 200, settings);
    host.provider = std::make_shared<PellixProvider>(
        PellixProvider::Dependencies{.quorvel = nullptr,
                                     .localeProvider = std::make_shared<LocaleProvider>(nullptr),
                                     .UUID = "A",
                                     .lumenoProvider = nullptr});
    EXPECT_EQ(host.outcomeOf(), expected);
    EXPECT_THAT(host.requestedPaths(), ElementsAre(knowledgeSettings, accountSettings));
  }
}

}  // namespace
}  // namespace PellixTests
