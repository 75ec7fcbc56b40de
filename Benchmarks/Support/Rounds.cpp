#include "Support/Rounds.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <utility>

namespace Benchmarks {
namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr Microseconds shortest(300);  // of a batch, so that the clock's own cost is nothing
constexpr std::size_t fewestRounds = 15;

double timeOf(const std::function<void()>& work, std::size_t batch) {
  const auto begin = Clock::now();
  for (std::size_t i = 0; i < batch; ++i) work();
  return Microseconds(Clock::now() - begin).count() / static_cast<double>(batch);
}

}  // namespace

void Rounds::add(std::string name, std::function<void()> work) {
  contenders_.push_back({.name = std::move(name), .work = std::move(work)});
}

void Rounds::run(std::chrono::milliseconds budget) {
  for (auto& contender : contenders_) {
    while (timeOf(contender.work, contender.batch) * static_cast<double>(contender.batch) <
           shortest.count()) {
      contender.batch *= 2;
    }
  }
  const auto end = Clock::now() + budget;
  for (std::size_t round = 0; round < fewestRounds || Clock::now() < end; ++round) {
    for (std::size_t turn = 0; turn < contenders_.size(); ++turn) {
      auto& contender = contenders_[(round + turn) % contenders_.size()];
      contender.microseconds.push_back(timeOf(contender.work, contender.batch));
    }
  }
}

const Rounds::Contender& Rounds::find(std::string_view name) const {
  return *std::ranges::find(contenders_, name, &Contender::name);
}

double percentile(std::vector<double> values, double share) {
  const auto at = values.begin() + std::lround(share * static_cast<double>(values.size() - 1));
  std::ranges::nth_element(values, at);
  return *at;
}

double medianRatio(const std::vector<double>& ours, const std::vector<double>& theirs) {
  std::vector<double> ratios;
  std::ranges::transform(ours, theirs, std::back_inserter(ratios), std::divides());
  return median(std::move(ratios));
}

double processStatus(std::string_view name) {
  std::ifstream status("/proc/self/status");
  double value = -1;
  for (std::string word; status >> word;) {
    if (word == name && status >> value) break;
  }
  return value;
}

void report(const std::string& name, double value) {
  std::printf("%s %.6g\n", name.c_str(), value);
}

void reportBar(const std::string& chart, const std::string& group, const std::string& name,
               double value) {
  std::printf("bar.%s %s %s %.6g\n", chart.c_str(), group.c_str(), name.c_str(), value);
}

}  // namespace Benchmarks
