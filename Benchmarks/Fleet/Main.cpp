// What a service has to bear of a million installations on a day with an outage, in virtual time.
// FleetBenchmark simulates the library as it is; FleetBenchmarkBefore is the same program with
// documents that are not confirmed, their times not spread, and failed fetches not backed off.

#include "Fleet/Day.h"
#include "Support/Rounds.h"

#include <algorithm>
#include <cstdio>
#include <functional>
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

/// The same in the busiest stretch of it.
template <class Count>
double busiest(const Load& load, Time from, Time to, Time stretch, Count count) {
  double result = 0;
  for (auto at = from; at < to; at += stretch) {
    result = std::max(result, perSecond(load, at, at + stretch, count));
  }
  return result;
}

double busiestMinute(const Load& load, Time from, Time to) {
  return busiest(load, from, to, 1min, &Bin::requests);
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
  figure("usual_peak", busiestMinute(load, {}, outageBegins));
  figure("outage_peak", busiestMinute(load, outageBegins, outageEnds));
  figure("afterwards_peak", busiestMinute(load, outageEnds, day));
  figure("minutes_to_recover", seconds(recoveryOf(load, usual)) / 60);
  figure("settings_share", all(&Bin::settings) / all(&Bin::requests));
  figure("confirmed_share", all(&Bin::confirmed) / all(&Bin::settings));
  figure("bytes", all(&Bin::bytes));
  figure("settings_bytes", all(&Bin::settingsBytes));
  figure("seconds_until_seen", seconds(load.untilSeen[0]));
  figure("seconds_until_seen_after_outage",
         seconds(std::max(Time(), changes[1] + load.untilSeen[1] - outageEnds)));
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
  const std::string prefix = isBefore ? "fleet.before." : "fleet.";
  for (const auto& kind : simulated.kinds()) reportLoad(prefix + kind.name, kind.load);
  const auto all = sumOf(simulated.kinds());
  reportLoad(prefix + "all", all);
  const auto mean = perSecond(all, {}, day, &Bin::requests);
  const auto settings = perSecond(all, {}, day, &Bin::settings);
  Benchmarks::report(prefix + "peak_over_mean", busiestMinute(all, {}, day) / mean);
  Benchmarks::report(prefix + "settings_share", settings / mean);

  const auto& displays = simulated.kinds().back().load;
  Benchmarks::report(prefix + "displays.settings_peak_over_mean",
                     busiest(displays, 10h, 12h, 10s, &Bin::settings) /
                         perSecond(displays, 10h, 12h, &Bin::settings));

  const std::string series = isBefore ? ".before" : ".now";
  plot("fleet_day" + series, all, {}, day, 10min, {}, 1h, &Bin::requests);
  plot("fleet_outage" + series, all, outageBegins - 10min, outageEnds + 20min, 1min, outageBegins,
       1min, &Bin::settings);
  plot("fleet_refreshes" + series, displays, 10h, 10h + 30min, 10s, 10h, 1min, &Bin::settings);
}
