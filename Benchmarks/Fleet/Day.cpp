#include "Fleet/Day.h"

#include <PellixPlatform/DispatchQueue.h>

#include <cmath>
#include <numbers>

namespace Benchmarks::Fleet {
namespace {

/// How much goes on at a time of the day, 1 on average: least at midnight, most at noon.
double activity(Time time) {
  return 1 - 0.8 * std::cos(2 * std::numbers::pi * seconds(time) / seconds(day));
}
constexpr double mostActivity = 1.8;

}  // namespace

Day::Day(bool givesTags) : service_(time_, givesTags) {
  for (auto& kind : kinds_) {
    kind.transport = service_.entrance(kind.load, kind.installations / kind.simulated);
    for (int i = 0; i < kind.simulated; ++i) (this->*kind.live)(kind);
  }
  while (time_.runNext()) PellixPlatform::DispatchQueue::main().runPending();
}

Day::Host Day::start(const Kind& kind) {
  QuorvelCoreSDK::Surroundings surroundings{
      .now = [this] { return std::chrono::steady_clock::time_point(time_.now()); },
      .wallTime = [this] { return std::chrono::system_clock::time_point(time_.now()); },
      .chance = [this] { return chanceOfLibrary_.share(); }};
  return std::make_shared<Installation>(kind.transport, std::move(surroundings));
}

/// Once a day the application is started and its help screen opened. Three in four people ask
/// something there, and two in five of those who got an answer go on to ask more.
void Day::livePhone(Kind& kind) {
  repeat(1, [this, &kind] {
    const auto host = start(kind);
    host->prepare();
    time_.after(chance_.pause(20s), [this, &kind, host] {
      if (chance_.share() < 0.75) converse(kind, host);
    });
  });
}

void Day::converse(Kind& kind, const Host& host) {
  ask(kind, host, 2, [this, &kind, host] {
    if (chance_.share() >= 0.4) return;
    time_.after(chance_.pause(60s), [this, &kind, host] { converse(kind, host); });
  });
}

/// It runs all day, and a person asks a hundred questions.
void Day::liveDesk(Kind& kind) {
  repeat(100, [this, &kind, host = start(kind)] { ask(kind, host, 2); });
}

/// It runs all day, and asks four thousand questions on behalf of many people.
void Day::liveServer(Kind& kind) {
  repeat(4'000, [this, &kind, host = start(kind)] { ask(kind, host, 1); });
}

/// It is switched on at eight with all the others, and asks by a timer.
void Day::liveDisplay(Kind& kind) {
  const auto jitter = std::chrono::round<Time>(chance_.share() * 10s);
  time_.after(8h + jitter, [this, &kind, host = start(kind)] { tick(kind, host); });
}

void Day::tick(Kind& kind, const Host& host) {
  ask(kind, host, 1);
  if (time_.now() < day) time_.after(10s, [this, &kind, host] { tick(kind, host); });
}

/// As often a day on average, more when there is more activity.
void Day::repeat(double timesADay, const std::function<void()>& task) {
  const auto mean = std::chrono::round<Time>(seconds(day) / (timesADay * mostActivity) * 1.0s);
  Time pause{};
  do {
    pause += chance_.pause(mean);
  } while (activity(time_.now() + pause) < mostActivity * chance_.share());
  if (time_.now() + pause >= day) return;
  time_.after(pause, [this, timesADay, task] {
    task();
    repeat(timesADay, task);
  });
}

/// Until there is an answer, with half a minute between attempts.
void Day::ask(Kind& kind, const Host& host, int attempts, const std::function<void()>& next) {
  host->ask([this, &kind, host, attempts, next](const Settings& settings, bool isAnswered) {
    if (settings.isEnabled) kind.load.sawVersion(settings.version, time_.now());
    if (isAnswered) {
      next();
    } else if (attempts > 1) {
      time_.after(chance_.pause(30s),
                  [this, &kind, host, attempts, next] { ask(kind, host, attempts - 1, next); });
    }
  });
}

}  // namespace Benchmarks::Fleet
