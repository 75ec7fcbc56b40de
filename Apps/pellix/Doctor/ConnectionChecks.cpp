#include "Doctor/Checks.h"
#include "Failure.h"
#include "Host.h"
#include "Printable.h"

#include <PellixPlatform/URL.h>

#include <fmt/core.h>

#include <cerrno>

namespace PellixApp {
namespace {

/// What to say of a step that is taken only if those before it succeed.
Finding findingOf(const Examination& examination, Step step, const std::string& success) {
  if (!examination.probe) return skipped("there is no usable account address");
  if (examination.probe->failed < step) return skipped("the step before it failed");
  return step < examination.probe->failed ? ok(success) : examination.probe->finding;
}

bool usesTLS(const Examination& examination) {
  const auto url = PellixPlatform::URL::parse(examination.account->accountDetails().accountUrl());
  return url->scheme() == "https";
}

/// What one version of IP comes to where the library is free to take either.
Finding findingOver(Family family, const Examination& examination) {
  if (!examination.probe || examination.probe->failed < Step::security) {
    return findingOf(examination, Step::security, "");
  }
  const auto [failed, finding, made] =
      probe(examination.account->accountDetails().accountUrl(), examination.options, family);
  if (failed == Step::none) return ok(made.peer);
  const bool isUntried = made.result == CURLE_COULDNT_CONNECT && made.systemError == 0;
  if (failed == Step::resolution || isUntried) return skipped("the host has no such address");
  if (made.systemError == ENETUNREACH || made.systemError == EADDRNOTAVAIL) {
    return skipped("the host has such an address, but this machine no way to it");
  }
  if (failed == examination.probe->failed) return skipped("it fails as said below");
  return problem(finding.found,
                 "Have the host answer over both versions of IP alike, or take the address that "
                 "does not answer out of the name.");
}

}  // namespace

Finding checkAccountAddress(Examination& examination) {
  const auto& options = examination.options;
  if (options.accountUrl.empty()) {
    return problem("There is no account address.", "Set PELLIX_ACCOUNT_URL or give --account-url.");
  }
  auto account = setUpCore(options);
  // The address itself stays unsaid then: it may hold a password.
  if (!account) {
    return problem(account.error().localizedDescription(), adviceFor(account.error()));
  }
  examination.account = *std::move(account);
  const auto& address = examination.account->accountDetails().accountUrl();
  examination.probe = probe(address, options);
  return ok(address);
}

Finding checkNameResolution(Examination& examination) {
  return findingOf(examination, Step::resolution, "the name is known");
}

Finding checkConnection(Examination& examination) {
  return findingOf(examination, Step::connection,
                   examination.probe ? examination.probe->made.peer : "");
}

Finding checkIPv4(Examination& examination) {
  return findingOver(Family::ipv4, examination);
}

Finding checkIPv6(Examination& examination) {
  return findingOver(Family::ipv6, examination);
}

Finding checkTLS(Examination& examination) {
  if (!examination.probe || examination.probe->failed < Step::security) {
    return findingOf(examination, Step::security, "");
  }
  if (!usesTLS(examination)) return skipped("not used: http on loopback");
  const auto& made = examination.probe->made;
  auto finding =
      findingOf(examination, Step::security,
                fmt::format("{}{}valid until {}", made.tls, made.tls.empty() ? "" : ", ",
                            timeText(made.chain.empty() ? 0 : made.chain.front().until)));
  finding.found += oneLine("; trusted are " + certificateStore(examination.options));
  return finding;
}

Finding checkCertificates(Examination& examination) {
  if (!examination.probe || examination.probe->made.chain.empty()) return skipped("none is known");
  std::string found;
  for (const auto& [subject, issuer, names, from, until] : examination.probe->made.chain) {
    found += fmt::format("{}{}, issued by {}, until {}", found.empty() ? "" : "; ", subject, issuer,
                         timeText(until));
  }
  return ok(found);
}

}  // namespace PellixApp
