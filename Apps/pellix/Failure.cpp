#include "Failure.h"

#include <PellixPlatform/DecodingError.h>
#include <PellixProvidersSDK/PellixError.h>
#include <QuorvelCoreSDK/CoreError.h>

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace PellixApp {
namespace {

using QuorvelCoreSDK::CoreErrorCode;

struct Advice {
  std::string_view domain;
  std::int64_t code;
  std::string_view text;
};

constexpr Advice core(CoreErrorCode code, std::string_view text) {
  return {"com.quorvel.core", std::to_underlying(code), text};
}

constexpr Advice status(int code, std::string_view text) {
  return {"com.pellix.providers", code, text};
}

constexpr auto advices = std::to_array<Advice>({
    {"QV_Pellix_Disabled", PellixProvidersSDK::PellixDisabledErrorCode,
     "The feature is disabled for this account, or its settings can't be had. Have it switched on "
     "in "
     "the account's settings; --verbose tells more."},
    core(CoreErrorCode::invalidAccountUrl, "Give an address such as https://example.com."),
    core(CoreErrorCode::insecureUrl, "Give an address that starts with https://."),
    core(CoreErrorCode::missingToken,
         "Put the token into PELLIX_TOKEN, or into a file named by --token-file."),
    core(CoreErrorCode::invalidHeader, "Check the token for stray characters."),
    core(CoreErrorCode::cannotResolveHost, "Check the account's address and the network."),
    core(CoreErrorCode::cannotResolveProxy, "Check the proxy's address in the environment."),
    core(CoreErrorCode::cannotConnect, "Check the account's address and the network."),
    core(CoreErrorCode::timedOut, "Try again later."),
    core(CoreErrorCode::untrustedCertificate,
         "If the server uses a certificate of your own, name it with --certificate-authorities."),
    core(CoreErrorCode::unreadableCertificateStore, "Check --certificate-authorities."),
    core(CoreErrorCode::connectionLost, "Try again."),
    status(401, "The token is not accepted: check PELLIX_TOKEN or --token-file."),
    status(403, "The token does not allow this."),
    status(404, "The address is no answer service's: check --account-url."),
    status(429, "Too many questions: try again later."),
    status(503, "Try again later."),
});

}  // namespace

std::string_view adviceFor(const PellixPlatform::Error& error) {
  const auto advice = std::ranges::find_if(advices, [&](const Advice& row) {
    return row.domain == error.domain() && row.code == error.code();
  });
  return advice == advices.end() ? std::string_view() : advice->text;
}

ExitCode reportFailure(const PellixPlatform::Error& error) {
  fmt::print(stderr, "pellix: {}\n", error.description());
  const auto advice = adviceFor(error);
  if (!advice.empty()) fmt::print(stderr, "{}\n", advice);
  return error.domain() == PellixProvidersSDK::PellixDisabledErrorDomain ? ExitCode::disabled
                                                                         : ExitCode::failed;
}

ExitCode reportSilence() {
  fmt::print(stderr, "pellix: The operation ended without an answer.\n");
  return ExitCode::silent;
}

}  // namespace PellixApp
