// Latency and throughput on loopback, beside libcurl alone and beside programs for this alone:
// EndToEndBenchmark HTTP-ADDRESS HTTPS-ADDRESS CERTIFICATE. Without arguments it prints the reply
// that the server is to give.

#include "EndToEnd/Clients.h"
#include "Support/Replies.h"
#include "Support/Rounds.h"

#include <algorithm>
#include <cstdio>

namespace Benchmarks {
namespace {

using Clock = std::chrono::steady_clock;

struct Contender {
  std::string name;
  std::unique_ptr<Client> client;
  std::vector<double> latencies;
  std::vector<double> rates;
};

/// Every contender in turn, in another order each round.
template <class Work>
void interleave(std::vector<Contender>& contenders, std::size_t rounds, const Work& work) {
  for (std::size_t round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < contenders.size(); ++i) {
      work(contenders[(round + i) % contenders.size()]);
    }
  }
}

void measureLatency(const std::string& name, std::vector<Contender>& contenders) {
  for (auto& contender : contenders) contender.latencies.clear();
  interleave(contenders, 20, [](Contender& contender) {
    const auto more = contender.client->ask(200, 1);
    contender.latencies.insert(contender.latencies.end(), more.begin(), more.end());
  });
  const auto& ours = contenders.front();
  for (const auto& [percent, share] : {std::pair("p50", 0.5), std::pair("p99", 0.99)}) {
    report(name + percent + ".us", percentile(ours.latencies, share));
    for (auto theirs = contenders.begin() + 1; theirs != contenders.end(); ++theirs) {
      report(name + percent + ".vs_" + theirs->name,
             percentile(ours.latencies, share) / percentile(theirs->latencies, share));
    }
  }
}

void measureThroughput(const std::string& name, std::vector<Contender>& contenders,
                       std::size_t inFlight) {
  constexpr std::size_t count = 2000;
  for (auto& contender : contenders) contender.rates.clear();
  interleave(contenders, 9, [&](Contender& contender) {
    const auto begin = Clock::now();
    static_cast<void>(contender.client->ask(count, inFlight));
    contender.rates.push_back(count / std::chrono::duration<double>(Clock::now() - begin).count());
  });
  const auto& ours = contenders.front();
  report(name + std::to_string(inFlight) + ".per_second", median(ours.rates));
  for (auto theirs = contenders.begin() + 1; theirs != contenders.end(); ++theirs) {
    report(name + std::to_string(inFlight) + ".vs_" + theirs->name,
           medianRatio(ours.rates, theirs->rates));
  }
}

void measure(const std::string& protocol, const Server& server) {
  std::vector<Contender> contenders;
  contenders.push_back({.name = "ours", .client = makeLibraryClient(server)});
  contenders.push_back({.name = "multi", .client = makeMultiClient(server)});
  contenders.push_back({.name = "easy", .client = makeEasyClient(server)});
  contenders.push_back({.name = "expert", .client = makeExpertClient(server)});
  for (auto& contender : contenders) static_cast<void>(contender.client->ask(100, 1));

  measureLatency("e2e.latency." + protocol, contenders);
  for (const std::size_t inFlight : {1U, 16U, 64U, 256U}) {
    measureThroughput("e2e.throughput." + protocol, contenders, inFlight);
  }
}

}  // namespace
}  // namespace Benchmarks

int main(int argc, char** argv) {
  if (argc != 4) return std::puts(Benchmarks::makeReply({.bodyBytes = 1}).c_str()) < 0;
  Benchmarks::measure("", {.address = argv[1], .certificate = argv[3]});
  Benchmarks::measure("h2.", {.address = argv[2], .certificate = argv[3]});
  Benchmarks::report("e2e.threads", Benchmarks::processStatus("Threads:"));
}
