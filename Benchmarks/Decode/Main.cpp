// How long it takes to decode a reply, and how many allocations, beside careful hand-written code.

#include "Decode/Rivals.h"
#include "Support/Allocations.h"
#include "Support/Replies.h"
#include "Support/Rounds.h"

#include <PellixPlatform/JSONDecoder.h>
#include <PellixProvidersSDK/DeflectionResponse.h>

#include <cstdio>
#include <cstdlib>

namespace Benchmarks {
namespace {

using PellixProvidersSDK::DeflectionResponse;

auto decodeWithOurs(std::string_view json) {
  return PellixPlatform::JSONDecoder().decode<DeflectionResponse>(json);
}

/// What no decoder can do without: looks at every byte once, and makes the strings.
PlainReply copyEverything(std::string_view json, const PlainReply& decoded) {
  static std::string buffer;
  buffer.assign(json);
  keep(buffer);
  return decoded;
}

/// Whoever reads something else than the others is not in the same race.
void mustAgree(const std::string& json, const PlainReply& floor) {
  const auto ours = decodeWithOurs(json);
  bool agree = ours && (*ours)->deflectionArticles().size() == floor.articles.size();
  for (const auto& theirs : {decodeWithSimdjson(json), decodeWithRapidJSON(json)}) {
    agree = agree && theirs && theirs->articles.size() == floor.articles.size();
    for (std::size_t i = 0; agree && i < floor.articles.size(); ++i) {
      const auto& article = *(*ours)->deflectionArticles()[i];
      agree = article.body() == floor.articles[i].body &&
              article.score() == floor.articles[i].score &&
              theirs->articles[i].body == floor.articles[i].body &&
              theirs->articles[i].snippet == article.snippet();
    }
  }
  if (agree) return;
  std::fputs("The decoders do not agree.\n", stderr);
  std::exit(1);
}

void measure(const NamedReply& reply) {
  const auto& json = reply.json;
  const auto plain = decodeWithNlohmann(json).value();
  mustAgree(json, plain);

  Rounds rounds;
  rounds.add("ours", [&] { keep(decodeWithOurs(json)); });
  rounds.add("simdjson", [&] { keep(decodeWithSimdjson(json)); });
  rounds.add("rapidjson", [&] { keep(decodeWithRapidJSON(json)); });
  rounds.add("nlohmann", [&] { keep(decodeWithNlohmann(json)); });
  rounds.add("floor", [&] { keep(copyEverything(json, plain)); });
  rounds.run(std::chrono::milliseconds(3000));

  const auto name = "decode." + reply.name;
  report(name + ".us", rounds.microseconds("ours"));
  for (const char* rival : {"simdjson", "rapidjson", "nlohmann", "floor"}) {
    report(name + ".vs_" + rival, rounds.ratio("ours", rival));
  }
  for (const char* decoder : {"ours", "simdjson", "rapidjson", "nlohmann"}) {
    const auto megabytesPerSecond = static_cast<double>(json.size()) / rounds.microseconds(decoder);
    reportBar("decode_mb_per_second", reply.name, decoder, megabytesPerSecond);
  }
  const auto records = plain.articles.size() + 2;  // with the deflection and the reply itself
  const auto ours = allocationsOf([&] { keep(decodeWithOurs(json)); });
  const auto floor = allocationsOf([&] { keep(copyEverything(json, plain)); });
  report(name + ".allocations", static_cast<double>(ours.count));
  report(name + ".allocations_beyond",
         static_cast<double>(ours.count) - static_cast<double>(floor.count + records));
}

}  // namespace
}  // namespace Benchmarks

int main() {
  for (const auto& reply : Benchmarks::namedReplies()) Benchmarks::measure(reply);
}
