#include "QuorvelCoreSDK/Source/Bridge/ConfigurationObject.h"

#include <PellixPlatform/Locale.h>
#include <PellixPlatform/QVLPlatform.h>

#include <gmock/gmock.h>

#include <array>

/// What a host sets, as the libraries have it.
namespace BridgeTests {
namespace {

using std::chrono_literals::operator""ms;

void supply(QVLTokenReceiver* receiver, void* context) {
  const std::string_view token(static_cast<const char*>(context));
  if (!token.empty()) QVLTokenReceiver_setToken(receiver, token.data(), token.size());
}

TEST(COptions, AreThoseOfTheConfiguration) {
  auto* const set = QVLQuorvelConfiguration_init();
  const auto& values = PellixPlatform::Bridge::objectOf(set, "test").values;
  const auto& network = values.network;
  QVLQuorvelConfiguration_setRequestTimeout(set, 1);
  QVLQuorvelConfiguration_setConnectTimeout(set, 2);
  QVLQuorvelConfiguration_setSettingsTimeout(set, 3);
  QVLQuorvelConfiguration_setSettingsTimeToLive(set, 4);
  EXPECT_THAT((std::array{network.requestTimeout, network.connectTimeout, network.settingsTimeout,
                          values.settingsTimeToLive}),
              testing::ElementsAre(1ms, 2ms, 3ms, 4ms));
  QVLQuorvelConfiguration_setMaxResponseBytes(set, 5);
  EXPECT_EQ(network.maxResponseBytes, 5U);
  QVLQuorvelConfiguration_setProxy(set, "proxy:1 and more", 7);
  EXPECT_EQ(network.proxy, "proxy:1");
  QVLQuorvelConfiguration_setIgnoreProxyEnvironment(set, true);
  EXPECT_TRUE(network.ignoreProxyEnvironment && !network.logsTlsSecrets);
  QVLQuorvelConfiguration_setLogsTlsSecrets(set, true);
  QVLQuorvelConfiguration_setIgnoreProxyEnvironment(set, false);
  EXPECT_TRUE(!network.ignoreProxyEnvironment && network.logsTlsSecrets);
  EXPECT_FALSE(QVLQuorvelConfiguration_setCertificateAuthorities(set, "/tmp\0/none", 10));
  EXPECT_EQ(network.certificateAuthorities, "");
  char token[] = "token";
  QVLQuorvelConfiguration_setTokenSupplier(set, supply, token, nullptr);
  EXPECT_EQ(values.token(), "token");
  token[0] = '\0';
  EXPECT_EQ(values.token(), std::nullopt);
  QVLRelease(set);
}

TEST(CLanguages, AreThoseThatTheHostPrefers) {
  const char* const languages[] = {"ja", "de-AT"};
  QVLLocale_setPreferredLanguages(languages, 2);
  EXPECT_THAT(PellixPlatform::Locale::preferredLanguages(), testing::ElementsAre("ja", "de-AT"));
  QVLLocale_setPreferredLanguages(languages, 0);
  EXPECT_THAT(PellixPlatform::Locale::preferredLanguages(), testing::IsEmpty());
}

}  // namespace
}  // namespace BridgeTests
