#include "Failure.h"

#include "Printable.h"
#include "Terminal.h"

#include <PellixPlatform/DecodingError.h>
#include <PellixProvidersSDK/PellixError.h>
#include <QuorvelCoreSDK/CoreError.h>
#include <QuorvelCoreSDK/Quorvel.h>

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
    core(CoreErrorCode::invalidAccountUrl, "Give an address such as https://example.com."),
    core(CoreErrorCode::insecureUrl, "Give an address that starts with https://."),
    core(CoreErrorCode::missingToken,
         "Put the token into PELLIX_TOKEN, or into a file named by --token-file."),
    core(CoreErrorCode::invalidHeader, "Check the token for stray characters."),
    core(CoreErrorCode::cannotResolveHost, "Check the account's address and the network."),
    core(CoreErrorCode::cannotResolveProxy, "Check the proxy's address in the environment."),
    core(CoreErrorCode::cannotConnect, "Check the account's address and the network."),
    core(CoreErrorCode::timedOut, "Try again later, or allow more time with --timeout."),
    core(CoreErrorCode::untrustedCertificate,
         "If the server uses a certificate of your own, name it with --certificate-authorities."),
    core(CoreErrorCode::secureConnectionFailed,
         "See that the address's port is one for https, and that the server offers TLS 1.2 or "
         "later."),
    core(CoreErrorCode::unreadableCertificateStore,
         "Install the system's certificates (ca-certificates), or name a file with "
         "--certificate-authorities."),
    core(CoreErrorCode::connectionLost,
         "Try again; if it happens each time, check the network and what stands on the way."),
    core(CoreErrorCode::malformedReply,
         "Check the address and its port: no web server answers there, or another protocol does."),
    core(CoreErrorCode::proxyFailed, "Check the proxy that the environment names."),
    core(CoreErrorCode::invalidProxy, "Check the proxy that the environment names (https_proxy)."),
    status(401, "The token is not accepted: check PELLIX_TOKEN or --token-file."),
    status(403, "The token does not allow this."),
    status(404, "The address is no answer service's: check --account-url."),
    status(429, "Too many questions: try again later."),
});

/// Whether a request that ended with the error may have reached the service.
bool mayHaveArrived(const PellixPlatform::Error& error) {
  using enum CoreErrorCode;
  static constexpr auto codes =
      std::to_array({timedOut, connectionLost, malformedReply, replyTooLarge, transportFailed});
  if (error.domain() == PellixProvidersSDK::PellixErrorDomain) return error.code() >= 500;
  return error.domain() == QuorvelCoreSDK::CoreErrorDomain &&
         std::ranges::find(codes, static_cast<CoreErrorCode>(error.code())) != codes.end();
}

}  // namespace

void complain(std::string_view what, std::string_view remedy) {
  const auto terminal = Terminal::of(stderr);
  tell(terminal.fit("pellix: " + oneLine(what)) + terminal.fit(remedy));
}

std::string_view adviceFor(const PellixPlatform::Error& error) {
  const auto* const advice = std::ranges::find_if(advices, [&](const Advice& row) {
    return row.domain == error.domain() && row.code == error.code();
  });
  if (advice != advices.end()) return advice->text;
  const bool isServers =
      error.domain() == PellixProvidersSDK::PellixErrorDomain && error.code() >= 500;
  return isServers ? "The service, or a gateway before it, is broken or busy: try again later."
                   : "";
}

std::optional<ExitCode> reportMissingSettings() {
  const auto failure = QuorvelCoreSDK::Quorvel::instance()->lastSettingsFailure();
  if (!failure) return std::nullopt;
  const auto advice = adviceFor(failure->error);
  complain("The account's settings can't be had. " + failure->error.description(),
           fmt::format("'pellix doctor' tells more.{}{}", advice.empty() ? "" : " ", advice));
  return ExitCode::disabled;
}

ExitCode reportFailure(const PellixPlatform::Error& error) {
  if (error.domain() != PellixProvidersSDK::PellixDisabledErrorDomain) {
    complain(error.description(), adviceFor(error));
    return ExitCode::failed;
  }
  if (const auto missing = reportMissingSettings()) return *missing;
  complain(
      error.description(),
      "The feature is disabled for this account, as far as its settings tell: have it switched on "
      "there. 'pellix doctor' looks at them.");
  return ExitCode::disabled;
}

ExitCode reportFailureOfReport(const PellixPlatform::Error& error) {
  const auto exitCode = reportFailure(error);
  constexpr auto advice =
      "Whether the service acted on the report is not known: look there before you report again.";
  if (mayHaveArrived(error)) tell(Terminal::of(stderr).fit(advice));
  return exitCode;
}

ExitCode reportSilence() {
  complain("The operation ended without an answer.",
           "The service may have sent an empty reply, the question may not be UTF-8, or the "
           "library's resources may be missing: 'pellix doctor' tells more.");
  return ExitCode::silent;
}

}  // namespace PellixApp
