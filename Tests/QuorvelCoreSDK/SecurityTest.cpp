#include "Client.h"
#include "Support/Recorder.h"
#include "Support/Rows.h"
#include "Support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace QuorvelCoreSDK {
namespace {

using Support::httpReply;
using Support::LoopbackIdentity;
using Support::LoopbackServer;
using Support::makeIdentity;
using testing::HasSubstr;
using testing::Not;

class SecurityTest : public testing::Test {
 protected:
  SecurityTest() { directory_.write("trusted.pem", authority_.certificate); }

  const Support::TemporaryDirectory directory_;
  const std::filesystem::path trusted_ = directory_.path() / "trusted.pem";
  const LoopbackIdentity authority_ = makeIdentity({.names = "DNS:authority.invalid"});
  Support::LogRecorder log_;
};

TEST_F(SecurityTest, TrustsWhomItShould) {
  using enum CoreErrorCode;
  struct Case {
    LoopbackIdentity identity;
    std::string host;
    CoreErrorCode code;
    std::string cause;
  };
  const auto issued = [this](std::string names, bool isExpired = false) {
    return makeIdentity({.names = std::move(names), .isExpired = isExpired, .issuer = &authority_});
  };
  const auto stranger = makeIdentity({.names = "DNS:authority.invalid"});
  const std::string here = "DNS:localhost,IP:127.0.0.1";
  const Case cases[] = {
      {issued(here), "127.0.0.1", CoreErrorCode{}, ""},
      {issued(here), "localhost", CoreErrorCode{}, ""},
      {makeIdentity({}), "localhost", untrustedCertificate, "self-signed"},
      {makeIdentity({.issuer = &stranger}), "localhost", untrustedCertificate, "issuer"},
      {issued(here, true), "localhost", untrustedCertificate, "expired"},
      {issued("DNS:other.invalid"), "localhost", untrustedCertificate,
       "does not match|no alternative"},
      {issued("DNS:localhost"), "127.0.0.1", untrustedCertificate, "does not match|no alternative"},
  };
  for (const auto& [identity, host, code, cause] : cases) {
    SCOPED_TRACE(host + " " + cause);
    const LoopbackServer server(replying(httpReply("200 OK", "{}")), {.identity = identity});
    const Client client(server.origin(host), {.network = {.certificateAuthorities = trusted_}});
    const auto outcome = client.perform();
    EXPECT_EQ(outcome.code(), code) << outcome.text();
    EXPECT_EQ(outcome.status(), code == CoreErrorCode{} ? 200 : 0);
    EXPECT_EQ(server.requests().size(), code == CoreErrorCode{} ? 1U : 0U);
    EXPECT_THAT(outcome.text(), testing::ContainsRegex(cause));
  }
}

TEST_F(SecurityTest, SaysThatTheTrustedCertificatesCannotBeRead) {
  const LoopbackServer server(replying(httpReply("200 OK")), {.identity = makeIdentity({})});
  directory_.write("garbage", "no certificate");
  for (const char* name : {"absent", "garbage"}) {
    const auto file = directory_.path() / name;
    const auto outcome =
        Client(server.origin(), {.network = {.certificateAuthorities = file}}).perform();
    EXPECT_EQ(outcome.code(), CoreErrorCode::unreadableCertificateStore) << outcome.text();
    EXPECT_THAT(outcome.text(), HasSubstr(file.string()));
  }
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(SecurityTest, UsesTheProxyOfTheConfigurationAlone) {
  using enum CoreErrorCode;
  const LoopbackServer server(replying(httpReply("200 OK", "direct")));
  const LoopbackServer proxy([](const auto& request) {
    return Support::LoopbackReply{request.head.starts_with("CONNECT ")
                                      ? httpReply("403 Forbidden")
                                      : httpReply("200 OK", "by proxy")};
  });
  const LoopbackServer closed(nullptr, {.isDeaf = true});
  const LoopbackServer asking(replying(httpReply("407 Proxy Authentication Required", "",
                                                 "Proxy-Authenticate: Basic realm=\"x\"\r\n")));
  for (const char* name : {"http_proxy", "https_proxy", "all_proxy", "ALL_PROXY"}) {
    setenv(name, closed.origin().c_str(), 1);
  }
  setenv("no_proxy", "account.invalid", 1);
  struct Case {
    std::string address;
    std::string proxy;
    CoreErrorCode code;
    std::string text;
  };
  const std::string withPassword = "http://user:" + std::string(secret);
  const Case cases[] = {
      {server.origin(), "", CoreErrorCode{}, "direct"},
      {server.origin("localhost"), "", CoreErrorCode{}, "direct"},
      {server.origin(), proxy.origin(), CoreErrorCode{}, "direct"},
      {server.origin("localhost"), closed.origin(), CoreErrorCode{}, "direct"},
      {"https://other.invalid", "", cannotConnect, closed.origin().substr(17)},
      {"https://account.invalid", proxy.origin(), proxyFailed, "403"},
      {"https://account.invalid", asking.origin(), proxyFailed, "407"},
      {"https://account.invalid", closed.origin(), cannotConnect, closed.origin().substr(17)},
      {"https://account.invalid", withPassword + "@" + proxy.origin().substr(7), proxyFailed,
       "403"},
      {"https://account.invalid", withPassword + "@host.invalid", cannotResolveProxy, "proxy"},
  };
  for (const auto& [address, through, code, text] : cases) {
    SCOPED_TRACE(address + " through " + through);
    const auto outcome = Client(address, {.network = {.proxy = through}}).perform();
    EXPECT_EQ(outcome.code(), code) << outcome.text();
    EXPECT_THAT(outcome.data.value_or("") + outcome.text(), HasSubstr(text));
    EXPECT_THAT(outcome.text(), Not(HasSubstr(secret)));
  }
  for (const auto& row : Support::rowsOf("QuorvelCoreSDK/Data/Proxies.txt")) {
    const auto made =
        Quorvel::initialize({"https://account.invalid", "a", "c"}, {.network = {.proxy = row[0]}});
    ASSERT_EQ(made.has_value(), row[1] == "yes") << row[0];
    if (!made) {
      EXPECT_EQ(made.error(), makeCoreError(invalidProxy)) << row[0];
    }
  }
  setenv("https_proxy", "gopher://proxy.invalid", 1);
  EXPECT_FALSE(Quorvel::initialize({"https://account.invalid", "a", "c"}));
  EXPECT_TRUE(Quorvel::initialize({"https://account.invalid", "a", "c"},
                                  {.network = {.ignoreProxyEnvironment = true}}));
  for (const auto& request : proxy.requests()) {
    if (request.head.starts_with("CONNECT")) {
      EXPECT_THAT(request.head, Not(HasSubstr("Bearer"))) << "the proxy has seen the token";
    }
  }
  for (const auto& line : log_.lines()) EXPECT_THAT(line, Not(HasSubstr(secret)));
}

}  // namespace
}  // namespace QuorvelCoreSDK
