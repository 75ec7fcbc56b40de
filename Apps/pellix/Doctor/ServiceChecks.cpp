#include "Doctor/Checks.h"
#include "Failure.h"

#include <PellixPlatform/JSONDecoder.h>
#include <PellixProvidersSDK/DeflectionResponse.h>
#include <PellixProvidersSDK/PellixError.h>
#include <PellixProvidersSDK/PellixSettings.h>
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
  explicit Body(const PellixPlatform::Decoder& decoder)
      : locale(decoder.read<std::string>("locale")) {}
};

/// The record in a reply, or why there is none.
template <class T>
std::expected<std::shared_ptr<const T>, PellixPlatform::Error> recordIn(
    const TransportReply& reply) {
  if (reply.error) return std::unexpected(*reply.error);
  const auto* http = dynamic_cast<const PellixPlatform::HTTPURLResponse*>(reply.response.get());
  const int status = http ? http->statusCode() : 0;
  if (200 <= status && status <= 299) {
    return PellixPlatform::JSONDecoder().decode<T>(reply.data.value_or(""));
  }
  auto text = PellixPlatform::HTTPURLResponse::localizedStringForStatusCode(status);
  return std::unexpected(PellixPlatform::Error::described(PellixProvidersSDK::PellixErrorDomain,
                                                          status, std::move(text)));
}

bool hasToken(const Diagnosis& diagnosis) {
  return diagnosis.options.token && !diagnosis.options.token->empty();
}

bool isLocaleText(const Diagnosis& diagnosis) {
  const auto& chosen = diagnosis.options.locale;
  return !chosen || oneLine(*chosen) == *chosen;
}

}  // namespace

Finding checkToken(Diagnosis& diagnosis) {
  if (hasToken(diagnosis)) return ok("there is one");
  return problem("There is no token.",
                 "Put the token into PELLIX_TOKEN, or into a file named by --token-file.");
}

Finding checkQuery(Diagnosis& diagnosis) {
  if (!diagnosis.probe || diagnosis.probe->failed != Step::none) return skipped(unreached);
  diagnosis.observation = observe(diagnosis.account);
  // Of a text that isn't UTF-8, the library would complain on standard output, the report's own.
  if (diagnosis.hasEndpoints && isLocaleText(diagnosis)) {
    diagnosis.query = queryAfter(*diagnosis.observation, diagnosis.account, diagnosis.options);
  }
  if (!diagnosis.query) return skipped(queryless);
  if (!hasToken(diagnosis)) return skipped("there is no token");
  const auto settings = recordIn<PellixSettings>(diagnosis.observation->settings);
  // The library would not ask either.
  if (!settings || !(*settings)->enabled()) return skipped("the feature is not known as enabled");

  const auto answer = recordIn<DeflectionResponse>(send(*diagnosis.query, diagnosis.account));
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

Finding checkSettings(Diagnosis& diagnosis) {
  if (!diagnosis.observation) return skipped(unreached);
  const auto settings = recordIn<PellixSettings>(diagnosis.observation->settings);
  if (settings) return ok("the account's settings can be had");
  return problem("There are no account settings: " + settings.error().description(), checkAddress);
}

Finding checkFeature(Diagnosis& diagnosis) {
  if (!diagnosis.observation) return skipped(unreached);
  const auto settings = recordIn<PellixSettings>(diagnosis.observation->settings);
  if (!settings) return skipped("there are no account settings");
  if ((*settings)->enabled()) return ok("enabled");
  return problem("The feature is disabled for this account.",
                 "Have it switched on in the account's settings.");
}

Finding checkKnowledgeBase(Diagnosis& diagnosis) {
  if (!diagnosis.observation) return skipped(unreached);
  const auto settings = recordIn<LumenoSettings>(diagnosis.observation->knowledgeSettings);
  if (settings) return ok(fmt::format("its locale is \"{}\"", (*settings)->locale()));
  return problem("There are no knowledge-base settings: " + settings.error().description(),
                 "Have the knowledge base set up for the account, or try again later.");
}

Finding checkQueryLocale(Diagnosis& diagnosis) {
  if (!isLocaleText(diagnosis)) {
    return problem("The locale in --locale or PELLIX_LOCALE is not a plain text in UTF-8.",
                   "Give a locale such as en-us.");
  }
  if (!diagnosis.observation) return skipped(unreached);
  if (!diagnosis.query) return skipped(queryless);
  const auto body = PellixPlatform::JSONDecoder().decode<Body>(diagnosis.query->body.value_or(""));
  if (!body) return problem("The query names no locale.", "Report this as a bug.");
  return ok(fmt::format("\"{}\"{}", body->locale, diagnosis.options.locale ? ", as chosen" : ""));
}

}  // namespace PellixApp
