#include "Doctor/Checks.h"

namespace PellixApp {
namespace {

/// What to say of a step that is taken only if those before it succeed.
Finding findingOf(const Diagnosis& diagnosis, Step step, const std::string& success) {
  if (!diagnosis.probe) return skipped("there is no usable account address");
  if (diagnosis.probe->failed < step) return skipped("the step before it failed");
  return step < diagnosis.probe->failed ? ok(success) : diagnosis.probe->finding;
}

}  // namespace

Finding checkAccountAddress(Diagnosis& diagnosis) {
  const auto& options = diagnosis.options;
  if (options.accountUrl.empty()) {
    return problem("There is no account address.", "Set PELLIX_ACCOUNT_URL or give --account-url.");
  }
  auto account = accountFor(options);
  // The address itself stays unsaid then: it may hold a password.
  if (!account) {
    return problem(account.error().localizedDescription(),
                   "Give an address such as https://example.com.");
  }
  diagnosis.account = *std::move(account);
  const auto& address = diagnosis.account->accountDetails().accountUrl();
  diagnosis.probe = probe(address, options);
  return ok(address);
}

Finding checkNameResolution(Diagnosis& diagnosis) {
  return findingOf(diagnosis, Step::resolution, "the name is known");
}

Finding checkConnection(Diagnosis& diagnosis) {
  return findingOf(diagnosis, Step::connection, diagnosis.probe ? diagnosis.probe->peer : "");
}

Finding checkTLS(Diagnosis& diagnosis) {
  if (!diagnosis.probe || diagnosis.probe->failed < Step::security) {
    return findingOf(diagnosis, Step::security, "");
  }
  if (!diagnosis.account->accountDetails().accountUrl().starts_with("https:")) {
    return skipped("not used: http on loopback");
  }
  auto finding =
      findingOf(diagnosis, Step::security, "valid until " + diagnosis.probe->certificateValidity);
  finding.found += oneLine("; trusted are " + certificateStore(diagnosis.options));
  return finding;
}

}  // namespace PellixApp
