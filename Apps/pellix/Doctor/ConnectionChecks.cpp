#include "Doctor/Checks.h"
#include "Failure.h"
#include "Host.h"
#include "Printable.h"

#include <PellixPlatform/URL.h>

namespace PellixApp {
namespace {

/// What to say of a step that is taken only if those before it succeed.
Finding findingOf(const Examination& examination, Step step, const std::string& success) {
  if (!examination.probe) return skipped("there is no usable account address");
  if (examination.probe->failed < step) return skipped("the step before it failed");
  return step < examination.probe->failed ? ok(success) : examination.probe->finding;
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
  return findingOf(examination, Step::connection, examination.probe ? examination.probe->peer : "");
}

Finding checkTLS(Examination& examination) {
  if (!examination.probe || examination.probe->failed < Step::security) {
    return findingOf(examination, Step::security, "");
  }
  const auto url = PellixPlatform::URL::parse(examination.account->accountDetails().accountUrl());
  if (url->scheme() != "https") {
    return skipped("not used: http on loopback");
  }
  auto finding = findingOf(examination, Step::security,
                           "valid until " + examination.probe->certificateValidity);
  finding.found += oneLine("; trusted are " + certificateStore(examination.options));
  return finding;
}

}  // namespace PellixApp
