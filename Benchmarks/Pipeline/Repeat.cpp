// Does one thing so many times, for a tool that counts instructions: Repeat query|rest TIMES.

#include "Pipeline/Steps.h"

#include <charconv>
#include <string_view>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const Benchmarks::Steps steps;
  const bool isQuery = std::string_view(argv[1]) == "query";
  const std::string_view written(argv[2]);
  int times = 0;
  std::from_chars(written.begin(), written.end(), times);
  for (; times > 0; --times) isQuery ? steps.query() : steps.encodeAndDecode();
}
