#include "Support/LoopbackServer.h"
#include "Support/Process.h"
#include "Support/TemporaryDirectory.h"

#include <AnswerService.h>
#include <gmock/gmock.h>

/// What a host in C may choose, and what comes of it.
namespace BridgeTests {
namespace {

struct Choice {
  std::vector<std::string> choices;
  std::string ending;  ///< after which more may come
  const char* delayed = "vote";
};

TEST(COptions, DoWhatTheirNamesSay) {
  AnswerService::Service service{{.token = "a-token", .tls = true}};
  service.start();
  service.setMisbehaviour("knowledge-settings", "none");  // which name a language too
  const Support::TemporaryDirectory directory;
  directory.write("own.pem", service.certificatePem());
  const Support::LoopbackServer full({}, {.isFull = true});
  const std::string silentUrl = "https://127.0.0.1:" + std::to_string(full.port());

  const std::string answered = "an article in en-us";
  const std::string kept = ", settings kept";
  const std::string unanswered = "QV_Pellix_Disabled 1006 for com.quorvel.core ";
  const Choice choices[] = {
      {{}, answered + kept},
      {{"language", "de"}, "an article in de" + kept},
      {{"language", "ja", "localeOverride", "de"}, "an article in de" + kept},
      {{"token", "another"}, "com.pellix.providers 401" + kept},
      {{"token", "another", "supplier", "a-token"}, answered + kept + "; a-token forgotten"},
      {{"supplier", ""}, ";  forgottencom.quorvel.core 3" + kept},
      {{"supplier", "none"}, "com.quorvel.core 3" + kept + "; none forgotten"},
      {{"certificateAuthorities", ""}, unanswered + "10"},
      {{"url", "https://acme.example", "proxy", "127.0.0.1:1"}, unanswered + "8"},
      {{"url", "https://127.0.0.1:1"}, unanswered + "8"},
      {{"ignoreProxyEnvironment", "false"}, "com.quorvel.core 19"},
      {{"url", silentUrl, "connectTimeout", "1"}, unanswered + "9"},
      {{"requestTimeout", "3000"}, "com.quorvel.core 9" + kept, "interaction"},
      {{"settingsTimeout", "1"}, unanswered + "9", "settings"},
      {{"maxResponseBytes", "1000"}, "com.quorvel.core 15" + kept},
      {{"settingsTimeToLive", "0"}, answered},
      {{"logsTlsSecrets", "true"}, answered + kept + ", secrets logged"},
  };
  for (auto [more, ending, delayed] : choices) {
    std::string url = service.baseUrl();
    if (!more.empty() && more[0] == "url") url = more[1];
    std::vector<std::string> command{C_OPTIONS,
                                     url,
                                     "token",
                                     "a-token",
                                     "ignoreProxyEnvironment",
                                     "true",
                                     "certificateAuthorities",
                                     directory.path() / "own.pem"};
    command.insert(command.end(), more.begin(), more.end());
    service.setMisbehaviour(delayed, "delay:3600000");
    const auto outcome = Support::runProcess(
        command, {{"https_proxy", "no://proxy"}, {"SSLKEYLOGFILE", directory.path() / "secrets"}});
    service.setMisbehaviour(delayed, "delay:0");
    EXPECT_EQ(outcome.output, ending);
    EXPECT_EQ(outcome.exitCode, 0);
  }
}

}  // namespace
}  // namespace BridgeTests
