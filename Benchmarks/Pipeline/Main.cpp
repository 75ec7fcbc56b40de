// What a query costs beside the network, the encoding of its body and the decoding of its reply.

#include "Pipeline/Steps.h"
#include "Support/Allocations.h"

int main() {
  using namespace Benchmarks;
  const Steps steps;
  for (int i = 0; i < 100; ++i) steps.query();  // what is made once is made

  Rounds rounds;
  rounds.add("query", [&] { steps.query(); });
  rounds.add("rest", [&] { steps.encodeAndDecode(); });
  rounds.run(std::chrono::milliseconds(4000));
  report("pipeline.us_per_query", rounds.microseconds("query") - rounds.microseconds("rest"));

  const auto extra =
      allocationsOf([&] { steps.query(); }) - allocationsOf([&] { steps.encodeAndDecode(); });
  report("pipeline.allocations", static_cast<double>(extra.count));
  report("pipeline.bytes_allocated", static_cast<double>(extra.bytes));
}
