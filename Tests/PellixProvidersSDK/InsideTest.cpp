#include "Models/RequestBodies.h"
#include "PellixHeaders.h"
#include "PellixProvidersSDK/Host.h"
#include "Providers/PellixProviderDependencies.h"
#include "QuorvelCoreSDK/Source/SharedInstance.h"
#include "Resources/BundleUtils.h"
#include "VeltraneProvidersSDK/Source/SharedInstance.h"

#include <PellixPlatform/JSONEncoder.h>
#include <PellixPlatform/Locale.h>
#include <PellixProvidersSDK/ResourceBundle.h>

#include <gmock/gmock.h>

/// What only shows from inside the libraries.
namespace PellixTests {
namespace {

using PellixProvidersSDK::LocaleProvider;

TEST(InteractionRequestBody, HasLabelsAndABrandIfThereAreAny) {
  const PellixProvidersSDK::InteractionRequestBody body("", "", "", {"b", "a"}, -1);
  EXPECT_EQ(PellixPlatform::JSONEncoder().encode(body),
            R"({"via_id":65,"deflection_channel_id":65,"interaction_reference":"",)"
            R"("interaction_reference_type":4,"enquiry":"","locale":"","labels":["b","a"],)"
            R"("brand_id":-1})");
}

TEST(Resources, AreTheLibrarysOwnForTextsToo) {
  const PellixProvidersSDK::BundleUtils utils(typeid(Pellix), "path");
  EXPECT_EQ(utils.path, "path");
  EXPECT_EQ(utils.stringsBundle(), &PellixProvidersSDK::resourceBundle());
  EXPECT_EQ(utils.bundle(), &PellixProvidersSDK::resourceBundle());
}

TEST(PellixHeaders, AreSentWithThoseThatAreAdded) {
  const PellixProvidersSDK::PellixHeaders headers("client", "version", {{"name", "value"}});
  EXPECT_THAT(headers.aditionalHeaders(), testing::ElementsAre(testing::Pair("name", "value")));
}

TEST(WithoutACoreInstance, OperationsEndSilentlyAtTheSettings) {
  for (const auto& operation : operations) {
    const Host host;
    QuorvelCoreSDK::setSharedInstance(nullptr);
    EXPECT_EQ(host.outcomeOf(operation), "silence");
    // For the locale, and beside it for what is asked next in other cases.
    const std::size_t requests = operation.path == queryPath ? 2 : 0;
    EXPECT_EQ(host.transport->requests().size(), requests);
  }
}

TEST(WithoutAKnowledgeBaseInstance, AQueryGoesByThePreferredLanguages) {
  const Host host;
  host.veltrane->setLumenoLocaleOverride("fr");
  VeltraneProvidersSDK::setSharedInstance(nullptr);
  PellixPlatform::Locale::setPreferredLanguages({{"pt-BR", "en"}});
  EXPECT_EQ(host.outcomeOf(), answered);
  EXPECT_THAT(host.transport->requests(queryPath).at(0).body.value(),
              testing::HasSubstr(R"("locale":"pt-BR")"));
  PellixPlatform::Locale::setPreferredLanguages(std::nullopt);
}

TEST(WithoutACoreInstanceOfItsOwn, OperationsEndSilentlyUnlessTheFeatureIsDisabled) {
  for (const char* settings : {enabled, disabled}) {
    for (const auto& operation : operations) {
      Host host;
      host.transport->answer(std::string(accountSettings), 200, settings);
      host.provider = std::make_shared<PellixProvider>(
          PellixProvider::Dependencies{.quorvel = nullptr,
                                       .localeProvider = std::make_shared<LocaleProvider>(nullptr),
                                       .UUID = "A",
                                       .lumenoProvider = nullptr});  // which nobody asks to vote
      EXPECT_EQ(host.outcomeOf(operation), settings == enabled ? "silence" : isDisabled);
      EXPECT_EQ(host.requestedPaths().back(), accountSettings);
    }
  }
}

}  // namespace
}  // namespace PellixTests
