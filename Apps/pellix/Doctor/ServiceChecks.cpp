#include "Doctor/Checks.h"
#include "Failure.h"
#include "Host.h"
#include "Printable.h"

#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/URL.h>
#include <PellixProvidersSDK/DeflectionResponse.h>
#include <PellixProvidersSDK/PellixError.h>
#include <PellixProvidersSDK/PellixSettings.h>
#include <VeltraneProvidersSDK/LumenoSettings.h>

#include <curl/curl.h>
#include <fmt/core.h>

#include <charconv>
#include <cstdlib>

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
  if (http && http->isSuccess()) {
    return PellixPlatform::JSONDecoder().decode<T>(reply.data.value_or(""));
  }
  const int status = http ? http->statusCode() : 0;
  auto text = PellixPlatform::HTTPURLResponse::localizedStringForStatusCode(status);
  return std::unexpected(PellixPlatform::Error::described(PellixProvidersSDK::PellixErrorDomain,
                                                          status, std::move(text)));
}

bool hasToken(const Examination& examination) {
  return examination.options.token && !examination.options.token->empty();
}

/// Whether the server asks for a token, or for another one.
bool isUnauthorized(const PellixPlatform::Error& error) {
  return error.domain() == PellixProvidersSDK::PellixErrorDomain &&
         (error.code() == 401 || error.code() == 403);
}

std::string_view remedyFor(const PellixPlatform::Error& error) {
  const auto advice = adviceFor(error);
  return advice.empty() ? checkAddress : advice;
}

/// Whether plain http is spoken to a port of https.
bool isForHTTPS(const Examination& examination) {
  auto address = examination.account->accountDetails().accountUrl();
  const auto scheme = address.find(':');
  if (PellixPlatform::URL::parse(address)->scheme() != "http") return false;
  return speaksTLS("https" + address.substr(scheme), examination.options);
}

bool isLocaleText(const Examination& examination) {
  const auto& chosen = examination.options.locale;
  return !chosen || oneLine(*chosen) == *chosen;
}

}  // namespace

Finding checkToken(Examination& examination) {
  if (hasToken(examination)) return ok("there is one");
  return problem("There is no token.",
                 "Put the token into PELLIX_TOKEN, or into a file named by --token-file.");
}

Finding checkQuery(Examination& examination) {
  if (!examination.probe || examination.probe->failed != Step::none) return skipped(unreached);
  examination.settings = fetchSettings(examination.account);
  // Of a text that isn't UTF-8, the library would complain on standard output, the report's own.
  if (examination.hasEndpoints && isLocaleText(examination)) {
    examination.query =
        makeQuery(examination.settings->knowledgeBase, examination.account, examination.options);
  }
  if (!examination.query) return skipped(queryless);
  if (!hasToken(examination)) return skipped("there is no token");
  const auto settings = recordIn<PellixSettings>(examination.settings->account);
  // The library would not ask either.
  if (!settings || !(*settings)->enabled()) return skipped("the feature is not known as enabled");

  const auto answer = recordIn<DeflectionResponse>(send(*examination.query, examination.account));
  if (answer) return ok("the token is accepted");
  const auto& error = answer.error();
  if (isUnauthorized(error)) {
    return problem(fmt::format("The token is not accepted: {}.", error.description()),
                   "Check the token in PELLIX_TOKEN, or in the file that --token-file names.");
  }
  return problem("The query fails: " + error.description(), remedyFor(error));
}

Finding checkSettings(Examination& examination) {
  if (!examination.settings) return skipped(unreached);
  const auto settings = recordIn<PellixSettings>(examination.settings->account);
  if (settings) return ok("the account's settings can be had");
  const auto& error = settings.error();
  const auto remedy = isForHTTPS(examination)
                          ? "Write https:// in the account's address: its port is one for that."
                      : isUnauthorized(error)  // though no token is needed for them
                          ? checkAddress
                          : remedyFor(error);
  return problem("There are no account settings: " + error.description(), remedy);
}

Finding checkProtocol(Examination& examination) {
  if (!examination.settings) return skipped(unreached);
  const auto figures = timings()->latest();
  if (!figures || figures->protocol.empty()) return skipped("the account's settings say why");
  if (figures->protocol == "HTTP/2") return ok("HTTP/2");
  return ok(fmt::format(
      "{}: {}", figures->protocol,
      examination.probe->made.chain.empty() ? "HTTP/2 takes TLS" : "HTTP/2 is not offered"));
}

Finding checkClock(Examination& examination) {
  if (!examination.settings) return skipped(unreached);
  const auto* const http = dynamic_cast<const PellixPlatform::HTTPURLResponse*>(
      examination.settings->account.response.get());
  const auto date = http ? http->valueForHeaderField("Date") : std::nullopt;
  auto theirs = date ? curl_getdate(std::string(*date).c_str(), nullptr) : -1;
  if (theirs < 0) return skipped("the service does not tell the time");
  // A cache tells when it asked for what it kept: RFC 9111, section 4.2.3.
  const auto age = http->valueForHeaderField("Age").value_or("0");
  std::int32_t seconds = 0;
  std::from_chars(age.data(), age.data() + age.size(), seconds);
  theirs += seconds;
  const auto ours = examination.settings->receivedAt;
  constexpr std::time_t most = 60;  // seconds; tokens are seldom allowed more
  if (std::abs(ours - theirs) <= most) {
    return ok(fmt::format("{} s from the service's", std::abs(ours - theirs)));
  }
  return problem(fmt::format("This machine's clock says {}, the service's {}.", timeText(ours),
                             timeText(theirs)),
                 "Set this machine's clock, or have the service's set: tokens and certificates "
                 "hold for a time.");
}

Finding checkFeature(Examination& examination) {
  if (!examination.settings) return skipped(unreached);
  const auto settings = recordIn<PellixSettings>(examination.settings->account);
  if (!settings) return skipped("there are no account settings");
  if ((*settings)->enabled()) return ok("enabled");
  return problem("The feature is disabled for this account.",
                 "Have it switched on in the account's settings.");
}

Finding checkKnowledgeBase(Examination& examination) {
  if (!examination.settings) return skipped(unreached);
  if (examination.settings->account.error) return skipped("the account's settings say why");
  const auto settings = recordIn<LumenoSettings>(examination.settings->knowledgeBase);
  if (settings) return ok(fmt::format("its locale is \"{}\"", (*settings)->locale()));
  return problem("There are no knowledge-base settings: " + settings.error().description(),
                 "Have the knowledge base set up for the account, or try again later.");
}

Finding checkQueryLocale(Examination& examination) {
  if (!isLocaleText(examination)) {
    return problem("The locale in --locale or PELLIX_LOCALE is not a plain text in UTF-8.",
                   "Give a locale such as en-us.");
  }
  if (!examination.settings) return skipped(unreached);
  if (!examination.query) return skipped(queryless);
  const auto body =
      PellixPlatform::JSONDecoder().decode<Body>(examination.query->body.value_or(""));
  if (!body) return problem("The query names no locale.", "Report this as a bug.");
  return ok(fmt::format("\"{}\"{}", body->locale, examination.options.locale ? ", as chosen" : ""));
}

}  // namespace PellixApp
