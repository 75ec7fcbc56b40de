// What a query costs beside the network, the encoding of its body and the decoding of its reply.
// With arguments, PipelineBenchmark query|rest TIMES, it only does that so often, for a tool that
// counts instructions.

#include "Models/RequestBodies.h"
#include "Support/Allocations.h"
#include "Support/Host.h"
#include "Support/Replies.h"

#include <PellixPlatform/JSONEncoder.h>

#include <string_view>

int main(int argc, char** argv) {
  using namespace Benchmarks;
  const auto reply = makeReply({.bodyBytes = 1});
  const OfflineHost host(reply);
  const auto query = [&] { host.ask([](const Reply& result) { keep(result.value()); }); };
  const auto rest = [&] {
    const PellixProvidersSDK::InteractionRequestBody body("A81BC81B-DEAD-4E5D-ABFF-90865D1E13B1",
                                                          question, "en-us", {}, std::nullopt);
    keep(PellixPlatform::JSONEncoder().encode(body));
    keep(PellixPlatform::JSONDecoder().decode<PellixProvidersSDK::DeflectionResponse>(reply));
  };
  if (argc == 3) {
    const bool isQuery = argv[1] == std::string_view("query");
    for (int times = std::stoi(argv[2]); times > 0; --times) isQuery ? query() : rest();
    return 0;
  }

  Rounds rounds;
  rounds.add("query", query);
  rounds.add("rest", rest);
  rounds.run(std::chrono::milliseconds(4000));
  report("pipeline.us_per_query", rounds.microseconds("query") - rounds.microseconds("rest"));
  const auto inQuery = allocationsOf(query);
  const auto inRest = allocationsOf(rest);
  report("pipeline.allocations", static_cast<double>(inQuery.count - inRest.count));
  report("pipeline.bytes_allocated", static_cast<double>(inQuery.bytes - inRest.bytes));
}
