// What a service has to bear of a million installations on a day with an outage, in virtual time.
// FleetBenchmark simulates the library as it is; FleetBenchmarkBefore is the same program with
// documents that are not confirmed, their times not spread, and failed fetches not backed off.

#include "Fleet/Day.h"
#include "Support/Rounds.h"

#include <cmath>
#include <cstdio>
#include <string>

namespace Benchmarks::Fleet {
namespace {

using Bin = Load::Bin;

/// A second's share of what was counted in a part of the day.
template <class Count>
double perSecond(const Load& load, Time from, Time to, Count count) {
  double sum = 0;
  for (auto at = from; at < to; at += Load::binWidth) {
    sum += std::invoke(count, load.bins[static_cast<std::size_t>(at / Load::binWidth)]);
  }
  return sum / seconds(to - from);
}

/// Requests a second in the busiest minute of it.
double busiest(const Load& load, Time from, Time to) {
  double result = 0;
  for (auto at = from; at < to; at += 1min) {
    result = std::max(result, perSecond(load, at, at + 1min, &Bin::requests));
  }
  return result;
}

/// How long after the outage there is a minute with at most a tenth more than the usual.
Time recoveryOf(const Load& load, double usual) {
  auto at = outageEnds;
  while (at < day && perSecond(load, at, at + 1min, &Bin::requests) > 1.1 * usual) at += 1min;
  return at - outageEnds;
}

void reportLoad(const std::string& name, const Load& load) {
  const auto figure = [&](const char* what, double value) { report(name + "." + what, value); };
  const auto all = [&](auto count) { return perSecond(load, {}, day, count); };
  const auto usual = perSecond(load, outageBegins - 30min, outageBegins, &Bin::requests);
  figure("requests", all(&Bin::requests));
  figure("usual_peak", busiest(load, {}, outageBegins));
  figure("outage_peak", busiest(load, outageBegins, outageEnds));
  figure("afterwards_peak", busiest(load, outageEnds, day));
  figure("minutes_to_recover", seconds(recoveryOf(load, usual)) / 60);
  figure("settings_share", all(&Bin::settings) / all(&Bin::requests));
  figure("confirmed_share", all(&Bin::confirmed) / all(&Bin::settings));
  figure("bytes", all(&Bin::bytes));
  figure("settings_bytes", all(&Bin::settingsBytes));
  figure("seconds_until_seen", seconds(load.untilSeen[0]));
  figure("seconds_until_seen_after_outage", seconds(changes[1] + load.untilSeen[1] - outageEnds));
}

Load sumOf(const auto& kinds) {
  Load sum;
  for (const auto& kind : kinds) sum += kind.load;
  return sum;
}

template <class Count>
void plot(const std::string& name, const Load& load, Time from, Time to, Time step, Time zero,
          Time unit, Count count) {
  for (auto at = from; at < to; at += step) {
    std::printf("plot.%s %.6g %.6g\n", name.c_str(), seconds(at - zero) / seconds(unit),
                perSecond(load, at, at + step, count));
  }
}

}  // namespace
}  // namespace Benchmarks::Fleet

int main() {
  using namespace Benchmarks::Fleet;
#ifdef PELLIX_FLEET_BEFORE
  constexpr bool isBefore = true;
#else
  constexpr bool isBefore = false;
#endif
  QuorvelCoreSDK::CoreLogger::setLevel(QuorvelCoreSDK::LogLevel::off);
  const Day simulated(!isBefore);
  const auto all = sumOf(simulated.kinds());
  const std::string prefix = isBefore ? "fleet.before." : "fleet.";
  for (const auto& kind : simulated.kinds()) reportLoad(prefix + kind.name, kind.load);
  reportLoad(prefix + "all", all);
  Benchmarks::report(prefix + "peak_over_mean",
                     busiest(all, {}, day) / perSecond(all, {}, day, &Bin::requests));
  Benchmarks::report(prefix + "settings_share", perSecond(all, {}, day, &Bin::settings) /
                                                    perSecond(all, {}, day, &Bin::requests));

  const std::string series = isBefore ? ".before" : ".now";
  plot("fleet_day" + series, all, {}, day, 10min, {}, 1h, &Bin::requests);
  plot("fleet_outage" + series, all, outageBegins - 10min, outageEnds + 20min, 1min, outageBegins,
       1min, &Bin::settings);
  const auto& displays = simulated.kinds().back().load;
  plot("fleet_refreshes" + series, displays, 10h, 10h + 30min, 10s, 10h, 1min, &Bin::settings);
}
