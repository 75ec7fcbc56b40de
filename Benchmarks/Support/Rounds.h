#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Benchmarks {

/// The value that a share of the others is below.
[[nodiscard]] double percentile(std::vector<double> values, double share);
[[nodiscard]] inline double median(std::vector<double> values) {
  return percentile(std::move(values), 0.5);
}
/// The median of ours by theirs, pair by pair.
[[nodiscard]] double medianRatio(const std::vector<double>& ours,
                                 const std::vector<double>& theirs);

/// Times several ways to do the same work against each other. They take turns, in short batches and
/// in another order each round, so that whatever else the machine is doing meets all of them alike.
class Rounds {
 public:
  void add(std::string name, std::function<void()> work);

  /// Runs rounds until the time is up, at least a few.
  void run(std::chrono::milliseconds budget);

  /// The median time of one piece of work.
  [[nodiscard]] double microseconds(std::string_view name) const {
    return median(find(name).microseconds);
  }
  [[nodiscard]] double ratio(std::string_view ours, std::string_view theirs) const {
    return medianRatio(find(ours).microseconds, find(theirs).microseconds);
  }

 private:
  struct Contender {
    std::string name;
    std::function<void()> work;
    std::size_t batch = 1;
    std::vector<double> microseconds = {};  // of each round
  };

  [[nodiscard]] const Contender& find(std::string_view name) const;

  std::vector<Contender> contenders_;
};

/// A number that the kernel keeps of this process, by its name with the colon, as "VmRSS:" (in
/// KiB).
[[nodiscard]] double processStatus(std::string_view name);

/// Writes one measured figure to standard output, for report.py.
void report(const std::string& name, double value);

/// Writes one bar of a chart: it stands in a group of bars, and bears somebody's name.
void reportBar(const std::string& chart, const std::string& group, const std::string& name,
               double value);

/// Keeps the compiler from leaving out the making of a value.
template <class T>
void keep(const T& value) {
  asm volatile("" : : "r"(&value) : "memory");
}

}  // namespace Benchmarks
