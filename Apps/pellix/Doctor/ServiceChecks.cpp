#include "Doctor/Checks.h"
#include "Failure.h"

#include <PellixProvidersSDK/DeflectionResponse.h>
#include <PellixProvidersSDK/PellixError.h>
#include <PellixProvidersSDK/PellixSettings.h>
#include <Platform/JSONDecoder.h>
#include <VeltraneProvidersSDK/LumenoSettings.h>

#include <fmt/core.h>

namespace PellixApp {
namespace {

using PellixProvidersSDK::DeflectionResponse;
using PellixProvidersSDK::PellixSettings;
using QuorvelCoreSDK::TransportReply;
using VeltraneProvidersSDK::LumenoSettings;

constexpr const char* unreached = "the service can't be reached";
constexpr const char* queryless = "the library can't make its query";
constexpr std::string_view checkAddress =
    "Check that --account-url is the account's address, or try again later.";

/// A query's body, as far as it is looked at.
struct Body {
  std::string locale;
  explicit Body(const Platform::Decoder& decoder) : locale(decoder.read<std::string>("locale")) {}
};

/// The record in a reply, or why there is none.
template <class T>
std::expected<std::shared_ptr<const T>, Platform::Error> recordIn(const TransportReply& reply) {
  if (reply.error) return std::unexpected(*reply.error);
  const auto* http = dynamic_cast<const Platform::HTTPURLResponse*>(reply.response.get());
  const int status = http ? http->statusCode() : 0;
  if (200 <= status && status <= 299) {
    return Platform::JSONDecoder().decode<T>(reply.data.value_or(""));
  }
  auto text = Platform::HTTPURLResponse::localizedStringForStatusCode(status);
  return std::unexpected(
      Platform::Error::described(PellixProvidersSDK::PellixErrorDomain, status, std::move(text)));
}

bool hasToken(const Patient& patient) {
  return patient.options.token && !patient.options.token->empty();
}

bool isLocaleText(const Patient& patient) {
  const auto& chosen = patient.options.locale;
  return !chosen || oneLine(*chosen) == *chosen;
}

}  // namespace

Finding checkToken(Patient& patient) {
  if (hasToken(patient)) return ok("there is one");
  return problem("There is no token.",
                 "Put the token into PELLIX_TOKEN, or into a file named by --token-file.");
}

Finding checkQuery(Patient& patient) {
  if (!patient.probe || patient.probe->failed != Step::none) return skipped(unreached);
  patient.visit = visit(patient.account);
  // Of a text that isn't UTF-8, the library would complain on standard output, the report's own.
  if (patient.hasEndpoints && isLocaleText(patient)) {
    patient.query = queryAfter(*patient.visit, patient.account, patient.options);
  }
  if (!patient.query) return skipped(queryless);
  if (!hasToken(patient)) return skipped("there is no token");
  const auto settings = recordIn<PellixSettings>(patient.visit->settings);
  // The library would not ask either.
  if (!settings || !(*settings)->enabled()) return skipped("the feature is not known as enabled");

  const auto answer = recordIn<DeflectionResponse>(send(*patient.query, patient.account));
  if (answer) return ok("the token is accepted");
  const auto& error = answer.error();
  if (error.domain() == PellixProvidersSDK::PellixErrorDomain &&
      (error.code() == 401 || error.code() == 403)) {
    return problem(fmt::format("The token is not accepted: {}.", error.description()),
                   "Check the token in PELLIX_TOKEN, or in the file that --token-file names.");
  }
  const auto advice = adviceFor(error);
  return problem("The query fails: " + error.description(), advice.empty() ? checkAddress : advice);
}

Finding checkSettings(Patient& patient) {
  if (!patient.visit) return skipped(unreached);
  const auto settings = recordIn<PellixSettings>(patient.visit->settings);
  if (settings) return ok("the account's settings can be had");
  return problem("There are no account settings: " + settings.error().description(), checkAddress);
}

Finding checkFeature(Patient& patient) {
  if (!patient.visit) return skipped(unreached);
  const auto settings = recordIn<PellixSettings>(patient.visit->settings);
  if (!settings) return skipped("there are no account settings");
  if ((*settings)->enabled()) return ok("enabled");
  return problem("The feature is disabled for this account.",
                 "Have it switched on in the account's settings.");
}

Finding checkKnowledgeBase(Patient& patient) {
  if (!patient.visit) return skipped(unreached);
  const auto settings = recordIn<LumenoSettings>(patient.visit->knowledgeSettings);
  if (settings) return ok(fmt::format("its locale is \"{}\"", (*settings)->locale()));
  return problem("There are no knowledge-base settings: " + settings.error().description(),
                 "Have the knowledge base set up for the account, or try again later.");
}

Finding checkQueryLocale(Patient& patient) {
  if (!isLocaleText(patient)) {
    return problem("The locale in --locale or PELLIX_LOCALE is not a plain text in UTF-8.",
                   "Give a locale such as en-us.");
  }
  if (!patient.visit) return skipped(unreached);
  if (!patient.query) return skipped(queryless);
  const auto body = Platform::JSONDecoder().decode<Body>(patient.query->body.value_or(""));
  if (!body) return problem("The query names no locale.", "Report this as a bug.");
  return ok(fmt::format("\"{}\"{}", body->locale, patient.options.locale ? ", as chosen" : ""));
}

}  // namespace PellixApp
