#include "Support/Process.h"

#include <fstream>
#include <string>

namespace Benchmarks {

double processStatus(std::string_view name) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    double value = 0;
    if (word == name && status >> value) return value;
  }
  return -1;
}

}  // namespace Benchmarks
