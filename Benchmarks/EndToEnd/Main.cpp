// Latency, throughput and processor time on loopback, beside other ways to ask the same:
// EndToEndBenchmark HTTP-ADDRESS HTTPS-ADDRESS CERTIFICATE. Without arguments it prints the reply
// that the server is to give.

#include "EndToEnd/Contender.h"
#include "Support/Replies.h"
#include "Support/Rounds.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <optional>
#include <set>
#include <vector>

namespace Benchmarks {
namespace {

struct Rival {
  const char* name;
  Contender::Make make;
  bool speaksHTTP2 = true;
};

/// The first is the one that all others are measured against.
constexpr Rival rivals[] = {
    {"ours", makeLibraryClient},       {"expert", makeExpertClient},
    {"multi", makeMultiClient},        {"easy", makeEasyClient},
    {"libsoup", makeSoupClient},       {"qt", makeQtClient},
    {"beast", makeBeastClient, false}, {"httplib", makeHttplibClient, false},
};

struct Protocol {
  const char* prefix;  // of figures
  const char* title;
  bool isHTTP2;
};

/// What each contender took, round by round.
using Figures = std::vector<std::vector<double>>;

class Race {
 public:
  Race(const Protocol& protocol, const Server& server) : protocol_(protocol) {
    for (const auto& [name, make, speaksHTTP2] : rivals) {
      if (protocol.isHTTP2 && !speaksHTTP2) continue;
      contenders_.emplace_back(name, make, server);
    }
    for (std::size_t i = 0; i < contenders_.size(); ++i) static_cast<void>(ask(i, 100, 1));
  }

  void measureLatency() {
    Figures latencies(contenders_.size());
    interleave(20, 200, 1, [&](std::size_t i, const Run& run) {
      latencies[i].insert(latencies[i].end(), run.microseconds.begin(), run.microseconds.end());
    });
    for (const auto& [percent, share] : {std::pair("p50", 0.5), std::pair("p99", 0.99)}) {
      const auto name = std::string("e2e.latency.") + protocol_.prefix + percent;
      const double ours = percentile(latencies.front(), share);
      report(name + ".us", ours);
      for (const auto i : rivalsLeft()) {
        reportAgainst(i, name, ours / percentile(latencies[i], share));
      }
    }
    draw("e2e_latency_us", latencies);
  }

  void measureThroughput(std::size_t inFlight) {
    constexpr std::size_t count = 2000;
    Figures rates(contenders_.size());
    Figures processorTimes(contenders_.size());
    interleave(9, count, inFlight, [&](std::size_t i, const Run& run) {
      rates[i].push_back(count / run.seconds);
      processorTimes[i].push_back(run.cpuSeconds * 1e6 / count);
    });
    const auto number = std::to_string(inFlight);
    reportRounds("e2e.throughput.", number, ".per_second", rates);
    reportRounds("e2e.cpu.", number, ".us", processorTimes);
    if (inFlight == 16) draw("e2e_per_second_16", rates);
    if (inFlight <= 16) draw("e2e_cpu_us_" + number, processorTimes);
  }

  [[nodiscard]] double threadsOfOurs() { return ask(0, 1, 1)->threads; }

 private:
  /// Nothing if that one has ended, which says why itself. It is then out of the race; without
  /// ours, there is none.
  std::optional<Run> ask(std::size_t i, std::size_t count, std::size_t inFlight) {
    if (ended_.contains(i)) return std::nullopt;
    auto run = contenders_[i].ask(count, inFlight);
    if (run) return run;
    std::fprintf(stderr, "%s has ended, and is left out of %s.\n", contenders_[i].name().c_str(),
                 protocol_.title);
    if (i == 0) std::exit(1);
    ended_.insert(i);
    return std::nullopt;
  }

  [[nodiscard]] std::vector<std::size_t> rivalsLeft() const {
    std::vector<std::size_t> left;
    for (std::size_t i = 1; i < contenders_.size(); ++i) {
      if (!ended_.contains(i)) left.push_back(i);
    }
    return left;
  }

  /// Every contender in turn, in another order each round.
  template <class Take>
  void interleave(std::size_t rounds, std::size_t count, std::size_t inFlight, const Take& take) {
    for (std::size_t round = 0; round < rounds; ++round) {
      for (std::size_t turn = 0; turn < contenders_.size(); ++turn) {
        const auto i = (round + turn) % contenders_.size();
        if (const auto run = ask(i, count, inFlight)) take(i, *run);
      }
    }
  }

  void reportRounds(const char* kind, const std::string& inFlight, const char* unit,
                    const Figures& figures) const {
    const auto name = kind + (protocol_.prefix + inFlight);
    report(name + unit, median(figures.front()));
    for (const auto i : rivalsLeft()) {
      reportAgainst(i, name, medianRatio(figures.front(), figures[i]));
    }
  }

  void reportAgainst(std::size_t i, const std::string& name, double ratio) const {
    report(name + ".vs_" + contenders_[i].name(), ratio);
  }

  /// One bar for each contender.
  void draw(const std::string& chart, const Figures& figures) const {
    const auto bar = [&](std::size_t i) {
      reportBar(chart, protocol_.title, contenders_[i].name(), median(figures[i]));
    };
    bar(0);
    for (const auto i : rivalsLeft()) bar(i);
  }

  const Protocol protocol_;
  std::deque<Contender> contenders_;
  std::set<std::size_t> ended_;
};

double measure(const Protocol& protocol, const Server& server) {
  Race race(protocol, server);
  race.measureLatency();
  for (const std::size_t inFlight : {1U, 16U, 64U, 256U}) race.measureThroughput(inFlight);
  return race.threadsOfOurs();
}

}  // namespace
}  // namespace Benchmarks

int main(int argc, char** argv) {
  using namespace Benchmarks;
  if (argc != 4) return std::puts(makeReply({.bodyBytes = 1}).c_str()) < 0;
  const double h1 = measure({"", "HTTP/1.1", false}, {.address = argv[1], .certificate = argv[3]});
  const double h2 = measure({"h2.", "HTTP/2", true}, {.address = argv[2], .certificate = argv[3]});
  report("e2e.threads", std::max(h1, h2));
}
