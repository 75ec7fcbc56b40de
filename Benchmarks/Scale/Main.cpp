// How cost grows: with queries in flight, with queries over time, and with what a reply holds.
// Besides figures it writes points to draw: "plot.NAME X Y".

#include "Support/Host.h"
#include "Support/Replies.h"
#include "Support/Rounds.h"

#include <PellixPlatform/JSONDecoder.h>

#include <malloc.h>

#include <cstdio>
#include <map>

namespace Benchmarks {
namespace {

void plot(const std::string& name, std::size_t x, double y) {
  std::printf("plot.%s %zu %.6g\n", name.c_str(), x, y);
}

double heapBytes() {
  const auto heap = mallinfo2();
  return static_cast<double>(heap.uordblks + heap.hblkhd);
}

/// Most of it is the request, ready to be sent.
void measureQueriesInFlight() {
  const OfflineHost host("");
  host.ask([](const Reply&) {});  // fetches the settings
  host.transport->stopAnswering();
  const double before = heapBytes();
  for (const std::size_t most : {1U, 10U, 100U, 1'000U, 10'000U}) {
    while (host.transport->questions() <= most) host.ask([](const Reply&) {});
    const double bytes = (heapBytes() - before) / static_cast<double>(most);
    plot("bytes_per_query_in_flight", most, bytes);
    if (most == 10'000) report("scale.bytes_per_query_in_flight", bytes);
  }
}

void measureManyQueries() {
  const OfflineHost host(makeReply({.articles = 1, .bodyBytes = 1}));
  const auto ask = [&](int times) {
    for (; times > 0; --times) host.ask([](const Reply& reply) { keep(reply.value()); });
  };
  ask(10'000);
  const double before = processStatus("VmRSS:");
  for (std::size_t step = 1; step <= 10; ++step) {
    ask(100'000);
    plot("rss_kb_growth_over_queries", step * 100'000, processStatus("VmRSS:") - before);
  }
  report("scale.rss_kb_growth_per_million_queries", processStatus("VmRSS:") - before);
}

/// How long it takes to decode replies of growing size, and what the last step up costs for each
/// unit of what has grown.
void measureDecoding(const std::string& name, const std::vector<std::size_t>& sizes,
                     const std::function<ReplyShape(std::size_t)>& shapeFor) {
  std::vector<double> microseconds;
  for (const auto size : sizes) {
    const auto json = makeReply(shapeFor(size));
    Rounds rounds;
    rounds.add("", [&] {
      keep(PellixPlatform::JSONDecoder().decode<PellixProvidersSDK::DeflectionResponse>(json));
    });
    rounds.run(std::chrono::milliseconds(150));
    microseconds.push_back(rounds.microseconds(""));
    plot("decode_us_over_" + name, size, microseconds.back());
  }
  const auto perUnit = [&](std::size_t i) {
    return microseconds[i] / static_cast<double>(sizes[i]);
  };
  report("scale.decode_over_" + name, perUnit(sizes.size() - 1) / perUnit(sizes.size() - 2));
}

}  // namespace
}  // namespace Benchmarks

int main() {
  using Benchmarks::ReplyShape;
  Benchmarks::measureQueriesInFlight();
  Benchmarks::measureManyQueries();
  const std::vector<std::size_t> counts{1, 2, 5, 10, 20, 50, 100, 200, 500, 1'000};
  Benchmarks::measureDecoding("articles", counts, [](std::size_t articles) {
    return ReplyShape{.articles = articles, .bodyBytes = 1024};
  });
  Benchmarks::measureDecoding("labels", counts, [](std::size_t labels) {
    return ReplyShape{.articles = 1, .labels = labels};
  });
  Benchmarks::measureDecoding(
      "body_bytes", {1'024, 4'096, 16'384, 65'536, 131'072, 262'144, 524'288, 1'048'576},
      [](std::size_t bytes) { return ReplyShape{.articles = 1, .bodyBytes = bytes}; });
}
