#include "Doctor/Checks.h"

namespace PellixApp {
namespace {

/// What to say of a step that is taken only if those before it succeed.
Finding findingOf(const Patient& patient, Step step, const std::string& success) {
  if (!patient.probe) return skipped("there is no usable account address");
  if (patient.probe->failed < step) return skipped("the step before it failed");
  return step < patient.probe->failed ? ok(success) : patient.probe->finding;
}

}  // namespace

Finding checkAccountAddress(Patient& patient) {
  const auto& options = patient.options;
  if (options.accountUrl.empty()) {
    return problem("There is no account address.", "Set PELLIX_ACCOUNT_URL or give --account-url.");
  }
  auto account = accountFor(options);
  // The address itself stays unsaid then: it may hold a password.
  if (!account) {
    return problem(account.error().localizedDescription(),
                   "Give an address such as https://example.com.");
  }
  patient.account = *std::move(account);
  const auto& address = patient.account->accountDetails().accountUrl();
  patient.probe = probe(address, options);
  return ok(address);
}

Finding checkNameResolution(Patient& patient) {
  return findingOf(patient, Step::resolution, "the name is known");
}

Finding checkConnection(Patient& patient) {
  return findingOf(patient, Step::connection, patient.probe ? patient.probe->peer : "");
}

Finding checkTLS(Patient& patient) {
  if (!patient.probe || patient.probe->failed < Step::security) {
    return findingOf(patient, Step::security, "");
  }
  if (!patient.account->accountDetails().accountUrl().starts_with("https:")) {
    return skipped("not used: http on loopback");
  }
  auto finding =
      findingOf(patient, Step::security, "valid until " + patient.probe->certificateValidity);
  finding.found += oneLine("; trusted are " + certificateStore(patient.options));
  return finding;
}

}  // namespace PellixApp
